// SPDX-License-Identifier: Apache-2.0
#include "every_pair.hpp"

namespace kv::test {

namespace {

std::string shown_list(const char *const *texts, int count)
{
    std::string whole = std::to_string(count) + ":";
    for (int i = 0; i < count; ++i)
        whole += std::string(" ") + texts[i];
    return whole;
}

void note_list(korvane_h handle, const char *const *texts, int count, void *recorder)
{
    static_cast<Recorder *>(recorder)->note(handle, "C " + shown_list(texts, count));
}

/// Pairs of one delegate. The agent is the oldest that knows the pair.
template <auto Set, auto Callback>
int set(korvane_h handle, Recorder *recorder)
{
    return Set(handle, Callback, recorder);
}

// The core's and the cloud's; those of the setup have a table of their own.
// clang-format off
const std::vector<Pair> further_pairs = {
    {"StatusChanged", "status_changed_cb", 0, "1.0", set<korvane_set_status_changed_cb, Note<'S', int>::call>,
     korvane_unset_status_changed_cb, 6, 7, {{1, i32(4), "S 4", {}}}},
    {"UserConfirm", "user_confirm_cb", 0, "1.0", set<korvane_set_user_confirm_cb, Note<'U'>::call>,
     korvane_unset_user_confirm_cb, 8, 9, {{2, {}, "U", {}}}},
    {"ResetConfirm", "reset_confirm_cb", 0, "1.0", set<korvane_set_reset_confirm_cb, Note<'R'>::call>,
     korvane_unset_reset_confirm_cb, 11, 12, {{3, {}, "R", {}}}},
    {"ResetResult", "reset_result_cb", 0, "1.0", set<korvane_set_reset_result_cb, Note<'r', bool>::call>,
     korvane_unset_reset_result_cb, 13, 14, {{4, boolean(true), "r 1", {}}}},
    {"CloudDeviceList", "cloud_device_list_cb", 1001, "1.1", set<korvane_set_cloud_device_list_cb, note_list>,
     korvane_unset_cloud_device_list_cb, 43, 44, {{13, bytes(count(2), str("a"), str("b")), "C 2: a b", {}}}},
    {"NickChanged", "nick_changed_cb", 1003, "1.3", set<korvane_set_nick_changed_cb, Note<'N', int, const char *>::call>,
     korvane_unset_nick_changed_cb, 71, 72, {{19, bytes(i32(3), str("attic")), "N 3 attic", {}}}},
    {"TermsResult", "tnc_result_cb", 1003, "1.3", set<korvane_set_tnc_result_cb, Note<'T', const char *>::call>,
     korvane_unset_tnc_result_cb, 60, 61, {{17, str("agreed"), "T agreed", {}}}},
    {"KeepaliveResult", "keepalive_result_cb", 1004, "1.4", set<korvane_set_keepalive_result_cb, Note<'K', int>::call>,
     korvane_unset_keepalive_result_cb, 75, 76, {{21, i32(-1), "K -1", {}}}},
    {"LastStatusChanged", "last_status_changed_cb", 1004, "1.4",
     set<korvane_set_last_status_changed_cb, Note<'L', const char *>::call>,
     korvane_unset_last_status_changed_cb, 73, 74, {{20, str("E4"), "L E4", {}}}},
    {"SigninStatusChanged", "signin_status_changed_cb", 1004, "1.4",
     set<korvane_set_signin_status_changed_cb, Note<'I', bool>::call>,
     korvane_unset_signin_status_changed_cb, 89, 90, {{23, boolean(true), "I 1", {}}}},
    {"SignupStatusChanged", "signup_status_changed_cb", 1004, "1.4",
     set<korvane_set_signup_status_changed_cb, Note<'P', bool>::call>,
     korvane_unset_signup_status_changed_cb, 86, 87, {{22, boolean(false), "P 0", {}}}},
    {"TcpSessionDisconnected", "tcp_session_disconnected_cb", 1004, "1.4",
     set<korvane_set_tcp_session_disconnected_cb, Note<'D', int>::call>,
     korvane_unset_tcp_session_disconnected_cb, 93, 94, {{24, i32(-110), "D -110", {}}}},
    {"Diagnostics", "diagnostics_cb", 2002, "2.2", set<korvane_set_diagnostics_cb, Note<'G', int, const char *>::call>,
     korvane_unset_diagnostics_cb, 106, 107, {{31, bytes(i32(2), str("dump")), "G 2 dump", {}}}},
};
// clang-format on

std::vector<Pair> both(std::vector<Pair> first, const std::vector<Pair> &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace

// Made when it is first asked for: the other table is another file's.
const std::vector<Pair> &every_pair()
{
    static const std::vector<Pair> pairs = both(setup_pairs, further_pairs);
    return pairs;
}

} // namespace kv::test
