// SPDX-License-Identifier: Apache-2.0
// The agent against requests and environments that try to exhaust it: memory, files, output.
#include "e2e/fixtures/application.hpp"
#include "e2e/fixtures/wire_client.hpp"
#include "support/program.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include <poll.h>
#include <sys/stat.h>

using namespace kv::test;

namespace {

constexpr std::size_t largest_parcel = 16 << 20;

/// A size in KiB from the status of a process: VmRSS is resident now, VmHWM was resident at most.
long memory_kib(pid_t pid, const std::string &name)
{
    std::ifstream status{"/proc/" + std::to_string(pid) + "/status"};
    long kib = -1;
    for (std::string word; status >> word;)
        if (word == name + ":")
            status >> kib;
    return kib;
}

Bytes text(const Bytes &value)
{
    return int32(static_cast<int>(value.size())) + value;
}

/// Sends a request of the largest size and waits for the agent's reply, or its end of the link.
void send_large(pid_t agent, const Bytes &request)
{
    const long before = memory_kib(agent, "VmRSS");
    {
        Client client;
        ASSERT_TRUE(client.connect());
        ASSERT_TRUE(client.send(request));
        client.receive();
        [[maybe_unused]] const long peak = memory_kib(agent, "VmHWM") - before;
        // Sanitizers keep freed memory on purpose.
#ifndef __SANITIZE_ADDRESS__
        EXPECT_LT(peak, 4 * static_cast<long>(request.size()) / 1024) << "KiB at most while it is decoded";
#endif
    }
    long held = 0;
    for (int i = 0; i < 100; ++i) {
        held = memory_kib(agent, "VmRSS") - before;
        if (held < 20 * 1024)
            break;
        ::poll(nullptr, 0, 50);
    }
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LT(held, 20 * 1024) << "KiB after the client has disconnected; the journal may keep 16 MiB";
#endif
}

TEST(AgentMemory, StaysBoundedForADocumentOfEmptyArrays)
{
    AgentHome home;
    AgentProcess agent{home};
    Bytes document = R"({"common_interface":6,"ap_list_array":[)";
    while (document.size() < largest_parcel - 64)
        document += "[],";
    send_large(agent.pid(), int32(102) + text(document + "[]]}"));
    EXPECT_NE(agent.reply_to("state running").find("false"), std::string::npos);
}

TEST(AgentMemory, StaysBoundedForAnArrayOfEmptyTexts)
{
    AgentHome home;
    AgentProcess agent{home};
    const int count = (largest_parcel - 16) / 4;
    send_large(agent.pid(), int32(59) + int32(count) + Bytes(static_cast<std::size_t>(count) * 4, '\0'));
    EXPECT_NE(agent.reply_to("state running").find("false"), std::string::npos);
}

TEST(AgentMemory, DoesNotKeepALongText)
{
    AgentHome home;
    AgentProcess agent{home};
    send_large(agent.pid(), int32(51) + text(Bytes(largest_parcel - 64, 'x')));
}

TEST(AgentFiles, AreReadableByTheirOwnerOnly)
{
    const mode_t mask = ::umask(0);
    AgentHome home;
    const std::string ca = home.root() / "ca";
    {
        AgentProcess agent{home, {"--ca-dir", ca, "--command-fifo", home.root() / "fifo"}};
        for (const std::filesystem::path &path :
             {home.log(), home.root() / "fifo", home.root() / "ca" / "ca.key", home.root() / "ca" / "ca.pem",
              home.runtime() / "control", home.runtime() / "control.json"}) {
            struct stat facts = {};
            ASSERT_EQ(::stat(path.c_str(), &facts), 0) << path;
            EXPECT_EQ(facts.st_mode & 0777, 0600U) << path;
        }
    }
    ::umask(mask);
}

TEST(AgentFiles, OfTheAuthorityMustBeRegular)
{
    AgentHome home;
    const auto ca = home.root() / "ca";
    std::filesystem::create_directory(ca);
    ASSERT_EQ(::mkfifo((ca / "ca.key").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((ca / "ca.pem").c_str(), 0600), 0);
    const ProgramResult result = run_agent({"--ca-dir", ca});
    EXPECT_EQ(result.exit_status, agent_exit::failed);
    EXPECT_NE(result.error_output.find("it is not a regular file"), std::string::npos) << result.error_output;
}

TEST(AgentOutput, ThatCannotBeWrittenEndsTheAgentWithTheReason)
{
    AgentHome home;
    Program agent{"/bin/sh", {"-c", std::string{"exec "} + KORVANE_AGENT_PATH + " >/dev/full"}};
    EXPECT_EQ(agent.wait(), 1);
    EXPECT_NE(agent.error_output().find("cannot write to standard output: No space left on device"), std::string::npos)
        << agent.error_output();
    EXPECT_FALSE(std::filesystem::exists(home.runtime() / "control.json"));
}

} // namespace
