// SPDX-License-Identifier: Apache-2.0
// The control API against clients that use up what it has: descriptors, connections, time and memory.
#include "control_port.hpp"
#include "support/program.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace kv::test;

namespace {

std::size_t open_descriptors(pid_t pid)
{
    const std::filesystem::directory_iterator all{"/proc/" + std::to_string(pid) + "/fd"};
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void limit_descriptors(pid_t pid, std::size_t count)
{
    rlimit limit{};
    ASSERT_EQ(::prlimit(pid, RLIMIT_NOFILE, nullptr, &limit), 0);
    limit.rlim_cur = count;
    ASSERT_EQ(::prlimit(pid, RLIMIT_NOFILE, &limit, nullptr), 0);
}

class ControlUnderLoad : public ControlPort {};

/// Keeps the agent busy without a pause: one connection with a hundred requests on their way at any time.
class BusyClient {
public:
    explicit BusyClient(const AgentHome &home) : connection_(home), thread_([this] { run(); }) {}
    BusyClient(const BusyClient &) = delete;
    BusyClient &operator=(const BusyClient &) = delete;
    ~BusyClient()
    {
        is_over_ = true;
        thread_.join();
    }

private:
    void run()
    {
        std::string requests;
        for (int i = 0; i < 50; ++i)
            requests += "GET /v1/state?path=running HTTP/1.1\r\nHost: agent\r\n\r\n";
        connection_.send(requests);
        while (!is_over_) {
            connection_.send(requests);
            for (int i = 0; i < 50; ++i)
                connection_.receive();
        }
    }

    ControlConnection connection_;
    std::atomic<bool> is_over_ = false;
    std::thread thread_;
};

TEST_F(ControlUnderLoad, ServesEveryOneOf2000SequentialConnectionsWhileItIsBusy)
{
    const BusyClient busy{home};
    int served = 0;
    for (int i = 0; i < 2000; ++i) {
        ControlConnection connection{home};
        served += connection.request("GET", "/v1/state?path=running", "Connection: close\r\n").status == 200 ? 1 : 0;
    }
    EXPECT_EQ(served, 2000);
}

TEST_F(ControlUnderLoad, SurvivesTheEndOfItsDescriptors)
{
    ASSERT_EQ(ControlConnection{home}.get("/v1/count").status, 200);
    const std::size_t used = open_descriptors(agent.pid());
    for (std::size_t more = 0; more < 8; ++more) {
        limit_descriptors(agent.pid(), used + more);
        std::vector<ControlConnection> clients;
        for (int i = 0; i < 4; ++i) {
            clients.emplace_back(home);
            clients.back().send("GET /v1/count HTTP/1.1\r\nHost: agent\r\n\r\n");
        }
        ::poll(nullptr, 0, 50); // the clients are accepted or not; both are fine
    }
    limit_descriptors(agent.pid(), 1024);
    bool served = false;
    for (int i = 0; i < 100 && !served; ++i) {
        served = ControlConnection{home}.get("/v1/count").status == 200;
        ::poll(nullptr, 0, served ? 0 : 50);
    }
    EXPECT_TRUE(served) << "the agent still runs and serves";
}

TEST_F(ControlUnderLoad, ServesItsOwnerWhileStrangersHoldConnections)
{
    std::vector<ControlConnection> strangers;
    for (int i = 0; i < 200; ++i) {
        strangers.emplace_back(port);
        strangers.back().send("GET /v1/count HTTP/1.1\r\n"); // and no end of the header
    }
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(ControlConnection{home}.get("/v1/count").status, 200) << "over the Unix socket";
        EXPECT_EQ(connect_with_token().get("/v1/count").status, 200) << "over the port, with the token";
    }
}

TEST_F(ControlUnderLoad, KeepsAConnectionWithATokenWhileStrangersArrive)
{
    ControlConnection owner = connect_with_token();
    ASSERT_EQ(owner.get("/v1/count").status, 200);
    std::vector<ControlConnection> strangers;
    for (int i = 0; i < 100; ++i)
        strangers.emplace_back(port);
    EXPECT_EQ(owner.get("/v1/count").status, 200);
}

TEST_F(ControlUnderLoad, EndsARequestThatArrivesByteByByte)
{
    ControlConnection slow{home};
    const auto begin = std::chrono::steady_clock::now();
    bool closed = false;
    slow.send("GET /v1/count HTTP/1.1\r\nX: ");
    while (!closed && std::chrono::steady_clock::now() - begin < std::chrono::seconds{15})
        closed = slow.wait_for_close(std::chrono::milliseconds{250}) || !slow.send("x");
    EXPECT_TRUE(closed) << "the whole header has one deadline of 10 s";
}

TEST_F(ControlUnderLoad, RejectsDocumentsThatAreTooDeepOrHaveTooManyValues)
{
    std::string deep = R"({"event":"status_changed_cb","values":)" + std::string(65, '[') + std::string(65, ']') + "}";
    const Response too_deep = ControlConnection{home}.post("emit", deep);
    EXPECT_EQ(too_deep.status, 400);
    EXPECT_NE(too_deep.at("error").find("nested more than 64 levels deep"), std::string::npos) << too_deep.body;

    std::string many = R"({"event":"status_changed_cb","values":[0)";
    for (int i = 0; i < 50'000; ++i)
        many += ",0";
    const Response too_many = ControlConnection{home}.post("emit", many + "]}");
    EXPECT_EQ(too_many.status, 400);
    EXPECT_NE(too_many.at("error").find("more than 50000 values"), std::string::npos) << too_many.body;
}

TEST_F(ControlUnderLoad, ReadsScenariosFromRegularFilesOnly)
{
    const std::string fifo = home.root() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string large = home.root() / "large";
    std::ofstream{large} << std::string((1 << 20) + 1, ' ');
    const std::pair<std::string, const char *> paths[] = {{fifo, "it is not a regular file"},
                                                          {"/dev/zero", "it is not a regular file"},
                                                          {home.root(), "it is not a regular file"},
                                                          {large, "it is longer than 1048576 bytes"}};
    for (const auto &[path, reason] : paths) {
        const Response refused = ControlConnection{home}.post("play", R"({"scenario":")" + path + R"("})");
        EXPECT_EQ(refused.status, 400) << path;
        EXPECT_NE(refused.at("error").find(reason), std::string::npos) << path << ": " << refused.body;
    }
}

/// Makes a system call fail in this process and the programs that it runs, if one of its arguments has this value.
void forbid(unsigned system_call, unsigned argument, unsigned value, unsigned error)
{
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, system_call, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(offsetof(seccomp_data, args) + 8 * argument)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(std::size(rules)), rules};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

TEST(ControlListener, DoesNotBlockIfFlagsCannotBeChanged)
{
    AgentHome home;
    ChildProcess agent{[] {
        forbid(__NR_fcntl, 1, F_SETFL, EINVAL);
        ::execl(KORVANE_AGENT_PATH, KORVANE_AGENT_PATH, static_cast<char *>(nullptr));
        return 127;
    }};
    ASSERT_TRUE(wait_until([&] { return std::filesystem::exists(home.runtime() / "control.json"); }));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ControlConnection{home}.get("/v1/state?path=running").status, 200) << i;
    // An agent that blocks in accept() serves the next client, and nothing else: it does not even stop.
    agent.signal(SIGTERM);
    EXPECT_NE(agent.wait(), std::nullopt);
}

TEST(EndOfAnAgent, NeedsNoWriteThatWakesItsLoop)
{
    AgentHome home;
    ChildProcess agent{[] {
        forbid(__NR_write, 2, sizeof(std::uint64_t), EIO); // the size of what GLib writes to wake a loop
        ::execl(KORVANE_AGENT_PATH, KORVANE_AGENT_PATH, static_cast<char *>(nullptr));
        return 127;
    }};
    ASSERT_TRUE(wait_until([&] { return std::filesystem::exists(home.runtime() / "control.json"); }));
    agent.signal(SIGTERM);
    EXPECT_EQ(agent.wait(), 0);
}

TEST(ControlLeftOvers, OfAKilledAgentAreRemoved)
{
    AgentHome home;
    {
        AgentProcess killed{home};
        killed.signal(SIGKILL);
        killed.wait();
    }
    const auto left_over = home.runtime() / "control.json.A1B2C3";
    std::ofstream{left_over} << "unfinished";
    AgentProcess next{home};
    EXPECT_FALSE(std::filesystem::exists(left_over));
    EXPECT_EQ(control_file(home).at("pid"), std::to_string(next.pid()));
}

} // namespace
