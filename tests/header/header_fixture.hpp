// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "conformance/fixtures/platform_fixture.hpp"
#include "matrix/world.hpp"

#include <ostream>

namespace kv::test::matrix {

/// Failures name the row of a table by these.
inline std::ostream &operator<<(std::ostream &out, const Function &function)
{
    return out << function.name;
}

inline std::ostream &operator<<(std::ostream &out, const Event &event)
{
    return out << event.name;
}

} // namespace kv::test::matrix

namespace kv::test::header {

/// A process in which nothing was called yet, with an application that `world` drives.
class HeaderTest : public PlatformTest {
protected:
    void begin_run() override
    {
        PlatformTest::begin_run();
        kv::agent = {};
    }

    void end_run() override
    {
        world.end();
        PlatformTest::end_run();
    }

    /// Ends the run and begins another one.
    void begin_afresh()
    {
        end_run();
        begin_run();
    }

    /// The library is connected to an agent of this version, which replies with success to every request.
    void connect(int agent = matrix::newest) { world.begin(matrix::Subject::library, agent); }

    /// From now on the agent replies to every request in this way.
    void agent_replies(const Bytes &with)
    {
        platform.main_port().on_sent = [with](Port &port, const Bytes &) { port.push(with); };
    }
    void agent_never_replies() { platform.main_port().on_sent = nullptr; }
    void agent_is_being_installed() { kv::agent.update = kv::AgentState::installing; }
    void agent_is_installed() { kv::agent.update = kv::AgentState::none; }

    /// The event of the delegate that was created last.
    template <class... Values>
    void last_delegate_fires(int id, bool once, const Values &...values)
    {
        world.arrives(event(id, last_seq_id(platform.log), once, values...));
    }

    matrix::World world;
};

} // namespace kv::test::header
