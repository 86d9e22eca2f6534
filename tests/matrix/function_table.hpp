// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/wire_bytes.hpp"

#include <korvane.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

/// Tables of the exported functions and of the events, typed by hand. Every test of this folder iterates over them.
namespace kv::test::matrix {

class World;

inline constexpr int ok = KORVANE_ERROR_NONE;
inline constexpr int no_memory = KORVANE_ERROR_OUT_OF_MEMORY;
inline constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;

/// The object that a call needs besides the library's handle.
enum class Subject {
    nothing, // the library is not initialised
    library, // initialised and connected, as for all subjects below
    ap_info,
    prov_info,
    ap_list,
    cloud_info,
    platform_info,
    last_status,
    profile,
    terms,
    tcp_header,
    presences,
    token_info,
};

/// The request that a function sends to agents of this version and later.
struct Request {
    int method;
    int since = 0;
    int command = 0; // command number of the method common_interface

    bool operator==(const Request &) const = default;
};

/// Allowed results. A test fails if one of them never occurs.
using Codes = std::set<int>;

struct Function {
    std::string name;
    int since = 0; // lowest agent version, as 1000 x major + minor; 0 also passes one that cannot be read
    Subject subject = Subject::library;
    std::vector<Request> requests = {};
    int (*call)(World &world); // with valid arguments
    /// Results when one of its own allocations fails; empty if it allocates nothing.
    Codes without_memory = {};
    /// The same with the lowest agent version, if that agent takes records instead of JSON.
    std::optional<Codes> without_memory_for_records = std::nullopt;
};

/// The functions of one group of the header.
struct Family {
    std::string name;
    std::vector<Function> functions;
};

std::vector<Family> setup_families();
std::vector<Family> cloud_families();

/// All functions, in the order of the header.
const std::vector<Family> &families();
const std::vector<Function> &functions();
/// Returns a row by name. The function must exist.
const Function &function_named(const std::string &name);

/// One event of the agent.
struct Event {
    int id;
    std::string name;
    std::string asked_by; // the exported function that sends the delegate of the event
    Bytes values = {};
};

const std::vector<Event> &events();
const Event &event_numbered(int id);
/// Whether the event completes a one-shot request.
bool once(const Event &event);

/// Agent versions as the package manager may report them.
inline constexpr int absent = -1;
inline constexpr int unreadable = 0;
inline constexpr int newest = 2003;
inline constexpr int agents[] = {absent, unreadable, 1000, 1001, 1002, 1003,  1004,
                                 1005,   1006,       2000, 2001, 2002, newest};

/// "1.4", "absent", "unreadable".
std::string shown_agent(int version);

/// The expected result of a call with valid arguments.
int result_with(const Function &function, int agent);
/// The request that a successful call sends; null if the library answers the call itself.
std::optional<Request> request_with(const Function &function, int agent);

} // namespace kv::test::matrix
