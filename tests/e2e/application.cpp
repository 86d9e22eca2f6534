// SPDX-License-Identifier: Apache-2.0
#include "application.hpp"

#include <filesystem>

namespace kv::test {

int open_descriptors()
{
    g_main_context_default(); // opens a descriptor when it is used for the first time
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator{"/proc/self/fd"})
        ++count;
    return count;
}

int Application::initialize()
{
    return korvane_initialize(
        &handle,
        [](int result, korvane_h, int status, void *data) {
            auto *self = static_cast<Application *>(data);
            const Change change{result, status};
            self->changes.push_back(change);
            if (self->on_change)
                self->on_change(change);
        },
        this);
}

int Application::deinitialize()
{
    if (!handle)
        return KORVANE_ERROR_INVALID_PARAMETER;
    return korvane_deinitialize(std::exchange(handle, nullptr));
}

bool Application::connect()
{
    return initialize() == KORVANE_ERROR_NONE && wait_for_changes(changes.size() + 1) && changes.back() == connected;
}

bool Application::wait_for_changes(std::size_t count)
{
    return run_main_loop_until([&] { return changes.size() >= count; });
}

int Application::start_async()
{
    return korvane_start_async(
        handle,
        [](korvane_h, int result, void *data) {
            auto *self = static_cast<Application *>(data);
            self->start_results.push_back(result);
            if (self->on_start_result)
                self->on_start_result(result);
        },
        this);
}

int Application::watch_io_errors()
{
    return korvane_set_rpc_io_error_cb(
        handle,
        [](korvane_h, void *data) {
            auto *self = static_cast<Application *>(data);
            ++self->io_errors;
            if (self->on_io_error)
                self->on_io_error();
        },
        this);
}

} // namespace kv::test
