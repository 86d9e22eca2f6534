// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The reply of get_thing_status.
enum class ThingStatus { alone = 0, signed_up = 1, signed_in = 2 };

/// The credentials with which an application signs the device up.
struct Credentials {
    std::string region{};
    std::string auth_provider{};
    std::string access_token{};
    std::string refresh_token{};
    std::string user_id{};
    std::string client_id{};
    std::string ci_server{}; // from agent 2.0 on, like the two below
    std::string deploy_env{};
    int token_type = 0;
};

/// The outcome of the next sign-up, and the time until then.
struct SignUpOutcome {
    bool succeeds = true;
    int after_ms = 0;
};

/// The keep-alive of the device. Intervals are seconds.
struct KeepAlive {
    static constexpr int min_interval_s = 1;
    static constexpr int default_interval_s = 60; // as long as no application has set any

    std::vector<int> intervals{};
    std::vector<int> selected{}; // indexes of intervals, used in turn; empty: the first interval
    std::size_t turn = 0;
    int result = 0; // of each round
    int rounds = 0;

    /// Seconds until the next round.
    int interval_s() const;
};

/// The connection to the cloud, as it was after its last byte.
struct SessionFacts {
    std::string local{};
    std::string remote{};
    std::int64_t sent = 0;
    std::int64_t received = 0;
    std::string numbers{}; // the origin of the numbers in its header: kernel, counted or simulated
};

/// The terms that a user has to accept.
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

/// The cloud's record of the device, and the requests of applications.
struct CloudState {
    SignUpOutcome next_sign_up{};
    bool signing_up = false;
    std::optional<Credentials> credentials{}; // of the sign-up
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

    std::map<std::string, std::deque<Json>> last_requests{}; // of each kind, secrets masked

    /// Keeps a request in `last_requests`.
    void keep(const std::string &kind, Json request);

    Json view() const;

private:
    static constexpr std::size_t max_kept = 32;
};

/// Texts by number, as an object.
Json by_number(const std::map<int, std::string> &texts);

} // namespace kv::virtual_agent
