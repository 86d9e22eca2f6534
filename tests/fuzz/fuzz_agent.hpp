// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/installation/updates.hpp"
#include "agent/requests/handlers.hpp"
#include "agent/scenario/player.hpp"
#include "testing/support/temporary_directory.hpp"

#include <filesystem>

/// The virtual agent with everything that a command can reach, for one fuzz input. It keeps events instead of sending them.
/// Its files are in a directory of this process.
class FuzzAgent {
public:
    FuzzAgent()
    {
        directory();
        events.send_by([](const std::string &, kv::virtual_agent::Event &) {});
        server.serve_with(handlers);
        player.control(agent);
        kv::virtual_agent::Peer &peer = events.connect({"application", "application(1)"});
        for (const kv::virtual_agent::EventEntry &event : kv::virtual_agent::all_events())
            peer.keep({event.id, 1, false});
    }
    FuzzAgent(const FuzzAgent &) = delete;
    FuzzAgent &operator=(const FuzzAgent &) = delete;
    ~FuzzAgent() { run_ready_sources(); }

    static const std::filesystem::path &directory()
    {
        static const kv::test::TemporaryDirectory made{"korvane-fuzz"};
        static const bool is_used = [] {
            ::setenv("KORVANE_RUNTIME_DIR", made.path().c_str(), 1);
            ::setenv("KORVANE_PACKAGE_DIR", made.path().c_str(), 1);
            return true;
        }();
        (void)is_used;
        return made.path();
    }

    /// Whether a text can be read by a client, however deep it nests.
    static bool is_json(const std::string &text)
    {
        const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> value{cJSON_Parse(text.c_str()), cJSON_Delete};
        return value != nullptr;
    }

    static void run_ready_sources()
    {
        while (g_main_context_iteration(nullptr, FALSE))
            continue;
    }

    kv::virtual_agent::State state{};
    kv::virtual_agent::Journal journal{"", false};
    kv::virtual_agent::Faults faults{};
    kv::virtual_agent::Package package{std::vector<std::string>{}};
    kv::virtual_agent::Clock clock{};
    kv::virtual_agent::EventHub events{};
    kv::virtual_agent::Server server{{state.version, state.last_requests}, journal, faults, events, false};
    kv::virtual_agent::Phone phone{state, events};
    kv::virtual_agent::Authority authority{};
    kv::virtual_agent::Cloud cloud{state, events, clock, authority};
    kv::virtual_agent::Handlers handlers{{state, phone, cloud}};
    kv::virtual_agent::Updates updates{state, server, package, journal};
    kv::virtual_agent::ScenarioPlayer player{};
    kv::virtual_agent::ControlledAgent agent{state, events, faults,  updates, phone,
                                             cloud, clock,  journal, player,  [] {}};
};
