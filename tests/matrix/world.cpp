// SPDX-License-Identifier: Apache-2.0
#include "world.hpp"

#include "common/agent_state.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string_view>

namespace kv::test::matrix {

namespace {

constexpr int package_not_installed = -18153359;

/// The lowest agent version with such a subject.
int first_agent_with(Subject subject)
{
    static const std::map<Subject, int> since = {
        {Subject::platform_info, 1001}, {Subject::last_status, 1001}, {Subject::profile, 1003},
        {Subject::terms, 1003},         {Subject::tcp_header, 1004},  {Subject::presences, 1006},
        {Subject::token_info, 2001},
    };
    const auto found = since.find(subject);
    return found == since.end() ? 1000 : found->second;
}

int number_at(const Bytes &parcel, std::size_t at)
{
    std::uint32_t bits = 0;
    for (unsigned i = 0; i < 4; ++i)
        bits |= std::uint32_t{parcel.at(at + i)} << 8 * i;
    return static_cast<int>(bits);
}

/// The out values of the agent's reply, if the method has any.
Bytes out_values(int method)
{
    static const std::map<int, Bytes> values = {
        {2, boolean(false)},
        {28, str("0b1c")},
        {29, boolean(true)},
        {45, boolean(true)},
        {78, str(R"({"tcp_header_info_ip_version":4,"tcp_header_info_src_addr":"10.0.0.2",)"
                 R"("tcp_header_info_src_port":40000,"tcp_header_info_dst_addr":"10.0.0.1",)"
                 R"("tcp_header_info_dst_port":443,"tcp_header_info_seq_num":1,"tcp_header_info_ack_num":2,)"
                 R"("tcp_header_info_window":502,"tcp_header_info_window_scale":7})")},
        {84, i32(1)},
        {85, boolean(true)},
        {88, boolean(true)},
        {100, str(R"([{"di":"a","prs":1},{"di":"b","prs":0}])")},
        {102, str("{}")},
    };
    const auto found = values.find(method);
    return found == values.end() ? Bytes{} : found->second;
}

/// The method and command of a request parcel.
Request seen(const Bytes &parcel)
{
    constexpr std::string_view key = "\"common_interface\":";
    Request request{number_at(parcel, 0)};
    const std::string text(parcel.begin(), parcel.end());
    if (const auto at = text.find(key); request.method == 102 && at != std::string::npos)
        request.command = std::atoi(text.c_str() + at + key.size());
    return request;
}

/// The number of the delegate of this type that was created last.
int seq_id_of(int id, const Log &log)
{
    const LogLines &lines = log.lines();
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        int of = 0;
        int seq_id = 0;
        if (line->function.ends_with("_create") &&
            std::sscanf(line->message.c_str(), "id(%d), seq_id(%d)", &of, &seq_id) == 2 && of == id)
            return seq_id;
    }
    throw std::logic_error("no delegate of type " + std::to_string(id) + " was created");
}

void must(int result, const char *what)
{
    if (result != KORVANE_ERROR_NONE)
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(result));
}

} // namespace

void World::agent_becomes(int version)
{
    agent_ = version;
    platform().results.erase("package_info_create");
    if (version == absent)
        platform().results["package_info_create"] = package_not_installed;
    platform().agent_version = version > unreadable ? std::optional(shown_agent(version)) : std::nullopt;
    kv::agent.support = kv::AgentState::unknown;
    kv::agent.version = 0;
}

void World::begin(Subject subject, int agent)
{
    if (subject != Subject::nothing) {
        agent_becomes(agent > unreadable ? agent : newest);
        must(korvane_initialize(&handle, count_disconnected, this), "korvane_initialize()");
        connect();
        make(subject, agent);
    }
    agent_becomes(agent);
    clear_records();
}

void World::connect()
{
    platform().main_port().on_sent = [this](Port &port, const Bytes &request) {
        int result = 0;
        if (!next_results.empty()) {
            result = next_results.front();
            next_results.pop_front();
        }
        port.push(reply(result, out_values(number_at(request, 0))));
    };
    platform().proxy().fire_connected();
    connected_ = &platform().proxy();
}

void World::make(Subject subject, int agent)
{
    agent_becomes(std::max(agent, first_agent_with(subject)));
    switch (subject) {
    case Subject::nothing:
    case Subject::library:
    case Subject::token_info: break;
    case Subject::ap_info: arrives(subscribe(event_numbered(agent_ < 1003 ? 7 : 18))); break;
    case Subject::prov_info: arrives(subscribe(event_numbered(8))); break;
    case Subject::tcp_header:
        must(korvane_get_tcp_header_info(handle, &tcp_header), "korvane_get_tcp_header_info()");
        break;
    case Subject::presences:
        must(korvane_get_sub_device_presence_list(handle, &presences, &presence_count),
             "korvane_get_sub_device_presence_list()");
        break;
    // Objects are filled, so that setters replace a value and requests carry one.
    case Subject::ap_list:
        must(korvane_aplist_create(&ap_list, 2), "korvane_aplist_create()");
        must(korvane_aplist_set_ssid(ap_list, 0, "first"), "korvane_aplist_set_ssid()");
        must(korvane_aplist_set_channel(ap_list, 0, 1), "korvane_aplist_set_channel()");
        break;
    case Subject::cloud_info:
        must(korvane_cloudinfo_create(&cloud_info), "korvane_cloudinfo_create()");
        must(korvane_cloudinfo_set_region(cloud_info, "us"), "korvane_cloudinfo_set_region()");
        break;
    case Subject::platform_info:
        must(korvane_platforminfo_create(&platform_info), "korvane_platforminfo_create()");
        must(korvane_platforminfo_set_model_number(platform_info, "WM-6"), "korvane_platforminfo_set_model_number()");
        break;
    case Subject::last_status:
        must(korvane_laststatusinfo_create(&last_status), "korvane_laststatusinfo_create()");
        must(korvane_laststatusinfo_set_error_code(last_status, "E3"), "korvane_laststatusinfo_set_error_code()");
        break;
    case Subject::profile:
        must(korvane_device_profile_info_create(&profile), "korvane_device_profile_info_create()");
        must(korvane_device_profile_info_set_nick(profile, "first"), "korvane_device_profile_info_set_nick()");
        break;
    case Subject::terms:
        must(korvane_tnc_info_create(&terms), "korvane_tnc_info_create()");
        must(korvane_tncinfo_set_version(terms, "2"), "korvane_tncinfo_set_version()");
        break;
    }
}

void World::with(Subject subject, const std::function<void()> &act)
{
    if (subject != Subject::token_info || token_info) {
        act();
        return;
    }
    const int agent = agent_;
    agent_becomes(std::max(agent, first_agent_with(Subject::token_info)));
    const Bytes token = subscribe(event_numbered(28));
    during_callback = [&] {
        agent_becomes(agent);
        clear_records();
        act();
    };
    arrives(token);
}

bool World::connected()
{
    return handle && connected_ == &platform().proxy();
}

Bytes World::subscribe(const Event &what)
{
    must(function_named(what.asked_by).call(*this), what.asked_by.c_str());
    return event_for_newest_delegate(what);
}

Bytes World::event_for_newest_delegate(const Event &what)
{
    return event(what.id, seq_id_of(what.id, platform().log), once(what), what.values);
}

Outcome World::outcome_of(const Function &function, int agent)
{
    Outcome outcome;
    begin(function.subject, agent);
    with(function.subject, [&] { outcome.result = function.call(*this); });
    for (const Bytes &parcel : platform().proxies().empty() ? std::vector<Bytes>{} : platform().main_port().sent)
        outcome.requests.push_back(seen(parcel));
    for (const LogLine &line : platform().log.errors())
        if (line.function == function.name)
            outcome.errors.push_back(line);
    outcome.said_called = platform().log.has(api_info(function.name, ">>> called"));
    return outcome;
}

int World::use_once_more()
{
    if (!handle)
        must(korvane_initialize(&handle, ignore_connection, nullptr), "korvane_initialize(), once more,");
    if (!connected())
        connect();
    return korvane_stop(handle);
}

int World::call_inside_another(const Function &function)
{
    char *outer_text = std::exchange(text_, nullptr);
    auto *outer_tcp_header = std::exchange(tcp_header, nullptr);
    auto *outer_presences = std::exchange(presences, nullptr);
    const int outer_presence_count = presence_count;
    const int outer_number = number;
    const bool outer_flag = flag;

    const int result = function.call(*this);

    release_outs();
    text_ = outer_text;
    tcp_header = outer_tcp_header;
    presences = outer_presences;
    presence_count = outer_presence_count;
    number = outer_number;
    flag = outer_flag;
    return result;
}

bool World::outs_untouched() const
{
    return !text_ && !tcp_header && !presences && presence_count == 0 && number == 0 && !flag;
}

void World::release_outs()
{
    text();
    if (tcp_header)
        released(korvane_release_tcp_header_info, tcp_header);
    if (presences)
        korvane_release_sub_device_presence_list(std::exchange(presences, nullptr), presence_count);
    presence_count = 0;
    number = 0;
    flag = false;
}

char **World::text()
{
    free(std::exchange(text_, nullptr));
    return &text_;
}

void World::clear_records()
{
    platform().log.clear();
    if (!platform().proxies().empty())
        platform().main_port().sent.clear();
}

void World::end()
{
    agent_becomes(newest);
    during_callback = nullptr;
    next_results.clear();
    release_outs();
    if (ap_list)
        released(korvane_aplist_destroy, ap_list);
    if (cloud_info)
        released(korvane_cloudinfo_destroy, cloud_info);
    if (platform_info)
        released(korvane_platforminfo_destroy, platform_info);
    if (last_status)
        released(korvane_laststatusinfo_destroy, last_status);
    if (profile)
        released(korvane_device_profile_info_destroy, profile);
    if (terms)
        released(korvane_tnc_info_destroy, terms);
    if (handle)
        released(korvane_deinitialize, handle);
    ap_info = nullptr;
    prov_info = nullptr;
    connected_ = nullptr;
    callbacks = 0;
}

} // namespace kv::test::matrix
