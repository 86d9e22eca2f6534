// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstring>

/// The names of numbers that the agent defines, as the virtual agent uses them. Journal, korvanectl and console show them beside
/// the numbers, and docs/reference/codings.md explains them. A number without a name is shown alone. Programs use this header,
/// the library does not.
namespace kv::master {

struct NumberName {
    int number;
    const char *name;
};

/// The names of the values of one or more arguments.
struct Coding {
    const char *title; // of the section in docs/reference/codings.md
    const NumberName *names;
    int count;

    template <int Count>
    constexpr Coding(const char *section, const NumberName (&list)[Count]) : title(section), names(list), count(Count)
    {
    }

    /// Null for a number without a name.
    constexpr const char *name_of(int number) const
    {
        for (int i = 0; i < count; ++i)
            if (names[i].number == number)
                return names[i].name;
        return nullptr;
    }
};

namespace codings {

inline constexpr NumberName setup_status_names[] = {{0, "waiting"}, {1, "connected"}, {2, "joining"},
                                                    {3, "joined"},  {4, "done"},      {5, "failed"}};
inline constexpr NumberName thing_status_names[] = {{0, "not signed up"}, {1, "signed up"}, {2, "signed in"}};
inline constexpr NumberName pin_names[] = {{3, "new PIN"}, {2, "1 wrong attempt"}, {1, "2 wrong attempts"}};
inline constexpr NumberName presence_names[] = {{0, "on"}, {1, "inactive"}};
inline constexpr NumberName session_end_names[] = {{0, "ended by the application"}, {-104, "connection broken"}};
inline constexpr NumberName credential_names[] = {
    {0, "done"}, {-2, "never issued"}, {-22, "wrong request"}, {-127, "expired"}, {-128, "revoked"}};
inline constexpr NumberName result_names[] = {{0, "done"}, {-1, "refused"}};

inline constexpr Coding setup_status{"Setup status", setup_status_names};
inline constexpr Coding thing_status{"Thing status", thing_status_names};
inline constexpr Coding pin_value{"PIN value", pin_names};
inline constexpr Coding presence{"Device presence", presence_names};
inline constexpr Coding session_end{"Session end", session_end_names};
inline constexpr Coding credential_result{"Certificate and token results", credential_names};
inline constexpr Coding method_result{"Results of methods", result_names};

} // namespace codings

/// A value that has a coding: an argument or out value of a method, or a value of an event, by name; and the same as a
/// number among those that the function of korvane.h returns or passes to its callback, from 0.
struct CodedValue {
    const char *owner; // the method or the event
    const char *value;
    const Coding &coding;
    const char *function; // null if korvane.h has no such value
    int index;
};

// A table
// clang-format off
inline constexpr CodedValue coded_values[] = {
    {"status_changed_cb", "status", codings::setup_status, "korvane_set_status_changed_cb", 0},
    {"get_thing_status", "status", codings::thing_status, "korvane_get_thing_status", 0},
    {"pin_generate_cb", "value", codings::pin_value, "korvane_set_pin_cb", 1},
    {"ultrasound_pin_generate_cb", "value", codings::pin_value, "korvane_set_ultrasound_pin_cb", 1},
    {"send_presence", "presence", codings::presence, nullptr, 0},
    {"tcp_session_disconnected_cb", "last_error_code", codings::session_end, "korvane_set_tcp_session_disconnected_cb", 0},
    {"create_hdr_certificate_cb", "result", codings::credential_result, "korvane_create_hdr_certificate", 0},
    {"get_hdr_certificate_cb", "result", codings::credential_result, "korvane_get_hdr_certificate", 0},
    {"create_hdr_token_info_cb", "result", codings::credential_result, "korvane_create_hdr_token_info", 0},
    {"create_hdr_token_info_custom_cb", "result", codings::credential_result, "korvane_create_hdr_token_info_custom", 0},
    {"start_async_cb", "result", codings::method_result, "korvane_start_async", 0},
};
// clang-format on

/// The coding of a value by the name of its method or event; null if it has none.
inline const Coding *coding_of(const char *owner, const char *value)
{
    for (const CodedValue &one : coded_values)
        if (std::strcmp(one.owner, owner) == 0 && std::strcmp(one.value, value) == 0)
            return &one.coding;
    return nullptr;
}

/// The same by the function of korvane.h.
inline const Coding *coding_of_function(const char *function, int index)
{
    for (const CodedValue &one : coded_values)
        if (one.function && std::strcmp(one.function, function) == 0 && one.index == index)
            return &one.coding;
    return nullptr;
}

} // namespace kv::master
