// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// What get_thing_status answers.
enum class ThingStatus { alone = 0, signed_up = 1, signed_in = 2 };

/// With what an application signs the device up.
struct Credentials {
    std::string region{};
    std::string auth_provider{};
    std::string access_token{};
    std::string refresh_token{};
    std::string user_id{};
    std::string client_id{};
    std::string ci_server{}; // told from agent 2.0 on, like the two below
    std::string deploy_env{};
    int token_type = 0;
};

/// How a sign-up is to end, and when.
struct SignUpOutcome {
    bool succeeds = true;
    int after_ms = 0;
};

/// How often the device says that it is there. Intervals are seconds.
struct KeepAlive {
    static constexpr int shortest_s = 1;
    static constexpr int default_s = 60; // while no application has told any

    std::vector<int> intervals{};
    std::vector<int> selected{}; // indexes of intervals, which are gone through in turn; none: the first
    std::size_t turn = 0;
    int result = 0; // that rounds end with
    int rounds = 0;

    /// Until the next round.
    int interval_s() const;
};

/// The connection to the cloud, as it was after the last byte that went over it.
struct SessionFacts {
    std::string local{};
    std::string remote{};
    std::int64_t sent = 0;
    std::int64_t received = 0;
    bool numbers_are_kernels = false;
};

/// The terms that a user is to accept.
struct Terms {
    std::string data{};
    std::string url{};
    std::optional<int> type{};
    std::optional<int> status{};
};

struct LastStatus {
    int timestamp = 0;
    std::string error_code{};
};

/// What the cloud knows of the device, and what the application told it.
struct CloudState {
    SignUpOutcome next_sign_up{};
    bool signing_up = false;
    std::optional<Credentials> credentials{}; // with which the device is signed up
    bool sign_in_disabled = false;
    std::string owner{};
    std::optional<SessionFacts> session{};
    KeepAlive keep_alive{};
    std::optional<int> presence{};
    std::optional<LastStatus> last_status{};
    Terms terms{};
    std::map<int, std::string> device_names{};   // by device number
    std::map<int, std::string> platform_infos{}; // by device number
    std::map<int, std::string> profiles{};       // by device number

    std::map<std::string, std::deque<Json>> told{}; // by kind of request, as it may be shown

    /// Notes what was told by one request. Of each kind the latest are kept.
    void remember(const std::string &kind, Json request);

    Json view() const;

private:
    static constexpr std::size_t most_kept = 32;
};

/// Texts as the member names of an object.
Json by_number(const std::map<int, std::string> &texts);

} // namespace kv::virtual_agent
