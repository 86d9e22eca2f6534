// SPDX-License-Identifier: Apache-2.0
#include "cloud_state.hpp"

#include "agent/interface/show.hpp"

#include <algorithm>

namespace kv::virtual_agent {

namespace {

Json shown_text(const std::string &text)
{
    return Shown::value(describe::String<"text">{}, text.c_str());
}

Json view_of(const Credentials &credentials)
{
    Json shown = Json::object();
    shown.set("region", shown_text(credentials.region))
        .set("auth_provider", shown_text(credentials.auth_provider))
        .set("access_token", Shown::secret(credentials.access_token.c_str()))
        .set("refresh_token", Shown::secret(credentials.refresh_token.c_str()))
        .set("user_id", Shown::secret(credentials.user_id.c_str()))
        .set("client_id", Shown::secret(credentials.client_id.c_str()))
        .set("ci_server", shown_text(credentials.ci_server))
        .set("deploy_env", shown_text(credentials.deploy_env))
        .set("iatt", credentials.token_type);
    return shown;
}

Json view_of(const SignUpOutcome &outcome)
{
    Json shown = Json::object();
    shown.set("outcome", outcome.succeeds ? "succeed" : "fail").set("after_ms", outcome.after_ms);
    return shown;
}

Json view_of(const SessionFacts &session)
{
    Json shown = Json::object();
    shown.set("local", session.local).set("remote", session.remote);
    shown.set("sent", session.sent).set("received", session.received);
    shown.set("numbers", session.numbers);
    return shown;
}

Json view_of(const KeepAlive &keep_alive)
{
    Json shown = Json::object();
    shown.set("intervals", array_of(keep_alive.intervals)).set("selected", array_of(keep_alive.selected));
    shown.set("interval_s", keep_alive.interval_s()).set("result", keep_alive.result);
    shown.set("rounds", keep_alive.rounds);
    return shown;
}

Json view_of(const LastStatus &status)
{
    Json shown = Json::object();
    shown.set("timestamp", status.timestamp).set("error_code", shown_text(status.error_code));
    return shown;
}

Json view_of(const Terms &terms)
{
    Json shown = Json::object();
    shown.set("data", Shown::secret(terms.data.c_str())).set("url", shown_text(terms.url));
    shown.set("type", or_null(terms.type)).set("status", or_null(terms.status));
    return shown;
}

Json view_of_profiles(const std::map<int, std::string> &profiles)
{
    Json shown = Json::object();
    for (const auto &[number, profile] : profiles)
        shown.set(std::to_string(number).c_str(),
                  Shown::document(master::documents::device_profile::document, profile.c_str()));
    return shown;
}

} // namespace

Json by_number(const std::map<int, std::string> &texts)
{
    Json shown = Json::object();
    for (const auto &[number, text] : texts)
        shown.set(std::to_string(number).c_str(), shown_text(text));
    return shown;
}

int KeepAlive::interval_s() const
{
    if (intervals.empty())
        return default_interval_s;
    const int index = selected.empty() ? 0 : selected[turn % selected.size()];
    return std::max(intervals[static_cast<std::size_t>(index)], min_interval_s);
}

void CloudState::keep(const std::string &kind, Json request)
{
    std::deque<Json> &kept = last_requests[kind];
    while (kept.size() >= max_kept)
        kept.pop_front();
    kept.push_back(std::move(request));
}

Json CloudState::view() const
{
    Json shown = Json::object();
    for (const auto &[kind, requests] : last_requests) {
        Json list = Json::array();
        for (const Json &request : requests)
            list.append(request.copy());
        shown.set(kind.c_str(), std::move(list));
    }

    Json all = Json::object();
    all.set("next_sign_up", view_of(next_sign_up))
        .set("signing_up", signing_up)
        .set("credentials", credentials ? view_of(*credentials) : Json{})
        .set("sign_in_disabled", sign_in_disabled)
        .set("owner", owner)
        .set("session", session ? view_of(*session) : Json{})
        .set("keep_alive", view_of(keep_alive))
        .set("presence", or_null(presence))
        .set("last_status", last_status ? view_of(*last_status) : Json{})
        .set("terms", view_of(terms))
        .set("device_names", by_number(device_names))
        .set("platform_infos", by_number(platform_infos))
        .set("profiles", view_of_profiles(profiles))
        .set("last_requests", std::move(shown));
    return all;
}

} // namespace kv::virtual_agent
