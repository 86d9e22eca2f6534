// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/agent_process.hpp"
#include "testing/support/wait.hpp"

#include <korvane.h>

#include <glib.h>

#include <functional>
#include <utility>
#include <vector>

namespace kv::test {

/// The number of open descriptors of this process, including that of the main context.
int open_descriptors();

/// An application that records the callbacks of the library.
class Application {
public:
    struct Change {
        int result;
        int status;

        bool operator==(const Change &) const = default;
    };

    Application() = default;
    Application(const Application &) = delete;
    Application &operator=(const Application &) = delete;
    ~Application() { deinitialize(); }

    int initialize();
    int deinitialize();
    /// Initialises the library and waits until it is connected.
    bool connect();
    bool wait_for_changes(std::size_t count);

    korvane_h handle = nullptr;
    std::vector<Change> changes;
    int io_errors = 0;
    std::vector<int> start_results;
    /// Called from inside the callback after it has been recorded.
    std::function<void(const Change &)> on_change;
    std::function<void()> on_io_error;
    std::function<void(int)> on_start_result;

    int start_async();
    int watch_io_errors();
};

inline constexpr Application::Change connected{KORVANE_ERROR_NONE, KORVANE_CONNECTION_CONNECTED};
inline constexpr Application::Change disconnected{KORVANE_ERROR_NONE, KORVANE_CONNECTION_DISCONNECTED};
inline constexpr Application::Change disconnected_by_update{KORVANE_ERROR_SERVICE_UNAVAILABLE,
                                                            KORVANE_CONNECTION_DISCONNECTED};
inline constexpr Application::Change refused{KORVANE_ERROR_PERMISSION_DENIED, KORVANE_CONNECTION_REJECTED};
inline constexpr Application::Change waiting_for_update{KORVANE_ERROR_SERVICE_UNAVAILABLE, KORVANE_CONNECTION_REJECTED};

} // namespace kv::test
