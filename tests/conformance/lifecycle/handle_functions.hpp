// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/library_fixture.hpp"

/// A table of the lifecycle functions that take the library's handle.
namespace kv::test {

struct Function {
    std::string name;
    int minimum_version;
    bool asks_agent; // checks for an update and sends a request
    int (*call)(korvane_h handle);
    int method; // of the request
};

inline std::ostream &operator<<(std::ostream &out, const Function &function)
{
    return out << function.name;
}

inline void ignore_io_error(korvane_h, void *) {}
inline void ignore_start_result(korvane_h, int, void *) {}

inline int set_rpc_io_error_cb(korvane_h handle)
{
    return korvane_set_rpc_io_error_cb(handle, ignore_io_error, nullptr);
}

inline int start_async(korvane_h handle)
{
    return korvane_start_async(handle, ignore_start_result, nullptr);
}

inline const std::vector<Function> functions = {
    {.name = "korvane_deinitialize",
     .minimum_version = 0,
     .asks_agent = false,
     .call = korvane_deinitialize,
     .method = 0},
    {.name = "korvane_set_rpc_io_error_cb",
     .minimum_version = 0,
     .asks_agent = false,
     .call = set_rpc_io_error_cb,
     .method = 0},
    {.name = "korvane_unset_rpc_io_error_cb",
     .minimum_version = 0,
     .asks_agent = false,
     .call = korvane_unset_rpc_io_error_cb,
     .method = 0},
    {.name = "korvane_start", .minimum_version = 0, .asks_agent = true, .call = korvane_start, .method = 3},
    {.name = "korvane_stop", .minimum_version = 0, .asks_agent = true, .call = korvane_stop, .method = 4},
    {.name = "korvane_start_async", .minimum_version = 2000, .asks_agent = true, .call = start_async, .method = 101},
};

inline std::vector<Function> functions_where(bool (*holds)(const Function &))
{
    std::vector<Function> kept;
    for (const Function &function : functions)
        if (holds(function))
            kept.push_back(function);
    return kept;
}

inline std::string name_of(const ::testing::TestParamInfo<Function> &info)
{
    return info.param.name;
}

class FunctionTest : public LibraryTest, public ::testing::WithParamInterface<Function> {
protected:
    int call(korvane_h called_with) { return GetParam().call(called_with); }
    LogLine entry() { return api_info(GetParam().name, ">>> called"); }
    LogLine refusal(const std::string &reason) { return api_error(GetParam().name, reason); }

    /// A pointer that is not a live handle and must not be dereferenced.
    static korvane_h bogus_handle() { return reinterpret_cast<korvane_h>(8); }
};

} // namespace kv::test
