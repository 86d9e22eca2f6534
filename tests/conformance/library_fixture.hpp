// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform_fixture.hpp"

#include <korvane.h>

#include <ostream>
#include <string>
#include <vector>

namespace kv::api {
extern korvane_h live_session; // what it points to is none of a test's business
}

namespace kv::test {

inline constexpr const char *update_event = "org.korvane.ServiceManager.UpdateStatus";

/// What a connection status callback was seen.
struct StatusNotice {
    int result;
    korvane_h handle;
    int status;

    bool operator==(const StatusNotice &) const = default;
};

inline std::ostream &operator<<(std::ostream &out, const StatusNotice &notice)
{
    return out << "{result " << notice.result << ", status " << notice.status << "}";
}

/// A process in which nothing was called yet, on a device with an agent of version 2.3.
class LibraryTest : public PlatformTest {
protected:
    /// The library, initialised; the connection is under way.
    korvane_h initialize();
    /// The library, initialised and connected to an agent that is not about to be updated. The log, the platform's
    /// calls and what was sent so far are forgotten.
    korvane_h connect();
    void forget_the_past();

    /// The next thing that arrives on the main port.
    void arrives(Bytes parcel) { platform.main_port().push(std::move(parcel)); }
    /// From now on the newest proxy's agent answers every request at once, with this result.
    void agent_answers(int result = 0, bool update_ready = false);
    const std::vector<Bytes> &sent() { return platform.main_port().sent; }

    void announce(const bundle_s &data);
    void update_starts() { announce(bundle_s{}.array("Start", {"agent"})); }
    void install_starts() { announce(bundle_s{}.text("Install", "agent")); }
    void update_completes() { announce(bundle_s{}.text("Complete", "agent")); }

    /// As when the process has just begun.
    void forget_the_agent();

    korvane_h handle = nullptr;
    std::vector<StatusNotice> statuses; // what the callback of initialize() received

    void begin_run() override;
    void end_run() override;
};

} // namespace kv::test
