// SPDX-License-Identifier: Apache-2.0
// The part of the cloud that is about the session: sign-in, its connection and its keep-alives.
#include "cloud.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace kv::virtual_agent {

namespace {

constexpr int session_lost = -ECONNRESET; // the default code of drop-session
constexpr int restore_ms = 1000;          // after a session that broke by itself
constexpr std::size_t max_intervals = 1024;

} // namespace

// ---- sign-in and session ---------------------------------------------------------------------------------------------

bool Cloud::signs_in() const
{
    return state_.signed_up && !state_.cloud.sign_in_disabled && !session_;
}

void Cloud::must_be_able_to_sign_in() const
{
    if (session_)
        refuse("the device is signed in already");
    if (!state_.signed_up)
        refuse("the device is not signed up; its application does that with korvane_sign_up_cloud");
    if (state_.cloud.sign_in_disabled)
        refuse("the application has disabled signing in with korvane_disable_signin");
}

void Cloud::connect_session()
{
    session_.emplace([this](int error) { lose_session(error); });
    if (session_->is_simulated() && !std::exchange(has_reported_simulation_, true))
        std::fprintf(stderr,
                     "korvane-agent: %s; the session with the cloud is simulated, and get_tcp_header_info returns "
                     "simulated values\n",
                     session_->tcp_problem().c_str());
    restore_.stop();
    cloud().keep_alive.turn = 0;
    update_session_facts();
    schedule_round();
}

void Cloud::begin_session()
{
    connect_session();
    set_signed_in(true);
}

void Cloud::apply_state()
{
    sign_up_.stop();
    restore_.stop();
    next_round_.stop();
    session_.reset();
    cloud().signing_up = false;
    cloud().session.reset();
    if (state_.signed_in)
        connect_session();
    update_thing_status();
}

/// Begins the session as a consequence of a request that succeeds even if the session does not begin.
void Cloud::try_to_begin_session()
{
    try {
        begin_session();
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "korvane-agent: the device cannot sign in: %s\n", problem.what());
    }
}

void Cloud::end_session()
{
    restore_.stop();
    next_round_.stop();
    if (!session_)
        return;
    session_.reset();
    cloud().session.reset();
    set_signed_in(false);
}

void Cloud::break_session(int code)
{
    hub_.publish(master::tcp_session_disconnected_cb{}, code);
    end_session();
}

void Cloud::lose_session(int error)
{
    break_session(-error);
    restore_.set(restore_ms, [this] { begin_session(); });
}

Json Cloud::sign_in(Arguments &arguments)
{
    arguments.end();
    must_be_able_to_sign_in();
    begin_session();
    return Json::object();
}

Json Cloud::sign_out(Arguments &arguments)
{
    arguments.end();
    if (!session_)
        refuse("the device is not signed in");
    end_session();
    return Json::object();
}

Json Cloud::drop_session(Arguments &arguments)
{
    const int code = arguments.number("code").value_or(session_lost);
    const std::optional<int> after_ms = arguments.count("after_ms");
    arguments.end();
    if (!session_)
        refuse("the device has no session with the cloud that could break; it must be signed in");
    break_session(code);
    if (after_ms)
        restore_.set(*after_ms, [this] { begin_session(); });
    return Json::object();
}

bool Cloud::disconnect()
{
    if (!session_)
        return false;
    break_session(0);
    return true;
}

void Cloud::disable_sign_in(bool disable)
{
    cloud().sign_in_disabled = disable;
    if (disable)
        end_session();
    else if (signs_in())
        try_to_begin_session();
}

std::optional<TcpHeader> Cloud::tcp_header() const
{
    return session_ ? std::optional{session_->header()} : std::nullopt;
}

void Cloud::update_session_facts()
{
    const TcpHeader header = session_->header();
    cloud().session = {header.src_addr + ":" + std::to_string(header.src_port),
                       header.dst_addr + ":" + std::to_string(header.dst_port), session_->sent(), session_->received(),
                       session_->is_simulated()    ? "simulated"
                       : header.has_kernel_numbers ? "kernel"
                                                   : "counted"};
}

// ---- keep-alive ------------------------------------------------------------------------------------------------------

bool Cloud::set_intervals(std::vector<int> intervals)
{
    if (intervals.size() > max_intervals)
        return false;
    KeepAlive &keep_alive = cloud().keep_alive;
    keep_alive.intervals = std::move(intervals);
    keep_alive.selected.clear();
    keep_alive.turn = 0;
    schedule_round();
    return true;
}

bool Cloud::select_intervals(std::vector<int> indexes)
{
    KeepAlive &keep_alive = cloud().keep_alive;
    const int count = static_cast<int>(keep_alive.intervals.size());
    if (indexes.size() > max_intervals ||
        std::any_of(indexes.begin(), indexes.end(), [count](int index) { return index < 0 || index >= count; }))
        return false;
    keep_alive.selected = std::move(indexes);
    keep_alive.turn = 0;
    schedule_round();
    return true;
}

bool Cloud::send_keep_alive()
{
    if (!session_)
        return false;
    round();
    return true;
}

void Cloud::schedule_round()
{
    if (!session_)
        return;
    next_round_.set(std::int64_t{1000} * cloud().keep_alive.interval_s(), [this] {
        ++cloud().keep_alive.turn;
        round();
    });
}

void Cloud::round()
{
    const int error = session_->keep_alive();
    KeepAlive &keep_alive = cloud().keep_alive;
    ++keep_alive.rounds;
    hub_.publish(master::keepalive_result_cb{}, error != 0 ? -error : keep_alive.result);
    if (error != 0)
        return lose_session(error);
    cloud().session->sent = session_->sent();
    cloud().session->received = session_->received();
    schedule_round();
}

Json Cloud::keep_alive(Arguments &arguments)
{
    const std::optional<int> result = arguments.number("result");
    arguments.end();
    if (!result)
        refuse("'result' is missing: the result of further keep-alives, 0 for success");
    cloud().keep_alive.result = *result;
    return Json::object();
}

} // namespace kv::virtual_agent
