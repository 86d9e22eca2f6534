// SPDX-License-Identifier: Apache-2.0
//
// Connecting, credentials, and the runtime directory.
#include <fcntl.h>
#include <glib.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "fixture.hpp"

namespace kv::test {
namespace {

constexpr uid_t nobody = 65534;
constexpr gid_t nogroup = 65534;

using ConnectTest = PortsTest;
using CredentialsTest = PortsTest;
using ListenTest = PortsTest;
using RuntimeDirectoryTest = PortsTest;

mode_t mode_of(const std::string &path)
{
    struct stat now = {};
    EXPECT_EQ(0, stat(path.c_str(), &now)) << path;
    return now.st_mode & 07777;
}

TEST_F(ConnectTest, RaisesConnectedFromTheLoop)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    EXPECT_EQ(0, proxy.connected);
    rpc_port_h port = nullptr;
    EXPECT_EQ(-ENOTCONN, rpc_port_proxy_get_port(proxy.handle, RPC_PORT_PORT_MAIN, &port));
    ASSERT_TRUE(run_until([&] { return proxy.connected == 1; }));
    EXPECT_EQ(0, rpc_port_proxy_get_port(proxy.handle, RPC_PORT_PORT_MAIN, &port));
    EXPECT_EQ(proxy.main, port);
    EXPECT_EQ(1u, stub.peers.size());
    EXPECT_EQ(getpid(), stub.last_peer.pid);
    EXPECT_EQ(geteuid(), stub.last_peer.uid);
    EXPECT_EQ(program_invocation_short_name, stub.last_sender);
}

TEST_F(ConnectTest, RunsOnTheThreadDefaultContext)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    GMainContext *other = g_main_context_new();
    Proxy proxy;
    g_main_context_push_thread_default(other);
    ASSERT_EQ(0, proxy.connect());
    g_main_context_pop_thread_default(other);
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    run_ready_sources();
    EXPECT_EQ(0, proxy.connected);
    while (proxy.connected == 0)
        g_main_context_iteration(other, TRUE);
    proxy.destroy();
    g_main_context_unref(other);
}

TEST_F(ConnectTest, RaisesRejectedIfTheAgentRefuses)
{
    Stub stub;
    stub.connecting_result = -13;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-13, proxy.last_result);
    EXPECT_EQ(0, proxy.disconnected);
    EXPECT_TRUE(stub.peers.empty());
    EXPECT_TRUE(contains(log(), "the agent refused the connection (-13)"));
}

TEST_F(ConnectTest, FailsAtOnceWithoutAnAgentOrAnExecutable)
{
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    EXPECT_TRUE(contains(log(), "cannot connect to port kv_master of org.example.agent: no agent listens")) << log();
    run_ready_sources();
    EXPECT_EQ(0, proxy.rejected);
}

TEST_F(ConnectTest, FailsAtOnceOnAStaleSocket)
{
    {
        RawListener dead(socket_path());
    }
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
}

TEST_F(ConnectTest, WorksAgainForTheSamePortOnly)
{
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    EXPECT_EQ(-EINVAL, rpc_port_proxy_connect(proxy.handle, appid, "another"));
    ASSERT_TRUE(proxy.connected_now());
    EXPECT_EQ(-EISCONN, proxy.connect());
}

TEST_F(ConnectTest, RefusesASecondAttemptDuringTheFirst)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    EXPECT_EQ(-EALREADY, proxy.connect());
}

TEST_F(ConnectTest, RefusesNamesThatLeaveTheDirectory)
{
    Proxy proxy;
    EXPECT_EQ(-EINVAL, rpc_port_proxy_connect(proxy.handle, "../x", "p"));
    Proxy second;
    EXPECT_EQ(-EINVAL, rpc_port_proxy_connect(second.handle, "", "p"));
    EXPECT_EQ(-EINVAL, rpc_port_proxy_connect(second.handle, nullptr, "p"));
    Proxy third;
    EXPECT_EQ(-EINVAL, rpc_port_proxy_connect(third.handle, "a", ".p"));
}

TEST_F(ConnectTest, RefusesAPathThatIsTooLongForASocket)
{
    Setting dir("KORVANE_RUNTIME_DIR", "/tmp/" + std::string(150, 'x'));
    Proxy proxy;
    EXPECT_EQ(-ENAMETOOLONG, proxy.connect());
    EXPECT_TRUE(contains(log(), "KORVANE_RUNTIME_DIR")) << log();
}

TEST_F(ConnectTest, RefusesARelativeRuntimeDirectory)
{
    Setting dir("KORVANE_RUNTIME_DIR", "run");
    Proxy proxy;
    EXPECT_EQ(-EINVAL, proxy.connect());
}

TEST_F(ConnectTest, ClosesEveryDescriptorOnExec)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    int sockets = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (!contains(std::filesystem::read_symlink(entry.path(), gone).string(), "socket:"))
            continue;
        const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
        sockets += flags == FD_CLOEXEC;
    }
    EXPECT_GE(sockets, 5); // the listener and two ends of two links
}

TEST_F(ConnectTest, WaitsForAnAgentWithAFullBacklog)
{
    RawListener listener(socket_path());
    std::vector<RawLink> filling;
    for (int i = 0; i <= RawListener::backlog; i++)
        filling.emplace_back(socket_path());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    EXPECT_EQ(0, proxy.connected + proxy.rejected);
    for (int i = 0; i <= RawListener::backlog; i++)
        listener.accept();
    ASSERT_TRUE(run_until([&] { return listener.has_waiting(); }));
    const RawLink main = listener.accept();
    main.send(handshake_reply(0));
    EXPECT_TRUE(run_until([&] { return proxy.connected == 1; }));
}

/// Opens descriptors until the process has no more.
class NoDescriptors {
public:
    NoDescriptors()
    {
        for (int fd = dup(STDIN_FILENO); fd >= 0; fd = dup(STDIN_FILENO))
            descriptors_.push_back(fd);
        EXPECT_EQ(EMFILE, errno);
    }
    ~NoDescriptors() { free_all(); }
    NoDescriptors(const NoDescriptors &) = delete;
    NoDescriptors &operator=(const NoDescriptors &) = delete;
    void free_all()
    {
        for (const int fd : descriptors_)
            close(fd);
        descriptors_.clear();
    }

private:
    std::vector<int> descriptors_;
};

TEST_F(ConnectTest, ContinuesWhenDescriptorsAreFreeAgain)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    NoDescriptors shortage;
    EXPECT_EQ(0, proxy.connect());
    for (int i = 0; i < 5; i++)
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_EQ(0, proxy.connected + proxy.rejected);
    shortage.free_all();
    EXPECT_TRUE(run_until([&] { return proxy.connected + proxy.rejected == 1; }));
    EXPECT_EQ(1, proxy.connected);
}

TEST_F(ConnectTest, IsRejectedAtTheDeadlineWithoutDescriptors)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "50");
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    {
        NoDescriptors shortage;
        EXPECT_EQ(0, proxy.connect());
        EXPECT_TRUE(run_until([&] { return proxy.connected + proxy.rejected == 1; }));
    }
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-5, proxy.last_result);
    EXPECT_TRUE(contains(log(), "Too many open files")) << log();
    EXPECT_TRUE(proxy.connect() == 0 && run_until([&] { return proxy.connected == 1; })) << "a new attempt works";
}

// Changes the user of a child process.
void as_nobody(const std::vector<gid_t> &groups = {})
{
    ASSERT_EQ(0, setgroups(groups.size(), groups.data()));
    ASSERT_EQ(0, setgid(nogroup));
    ASSERT_EQ(0, setuid(nobody));
}

#define NEEDS_ROOT()                                                                                                   \
    if (geteuid() != 0)                                                                                                \
    GTEST_SKIP() << "only root can become another user"

TEST_F(CredentialsTest, KeepOtherUsersOutOfTheDirectory)
{
    NEEDS_ROOT();
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const auto result = in_child({}, [] {
        as_nobody();
        Proxy proxy;
        EXPECT_EQ(-EACCES, proxy.connect());
    });
    EXPECT_EQ(0, result.status) << result.text();
    EXPECT_TRUE(contains(log(), "Permission denied")) << log();
}

// Makes the socket reachable for all users, so that only the check of credentials refuses them.
void make_reachable(const std::string &directory, const std::string &runtime, const std::string &socket)
{
    chmod(directory.c_str(), 0755);
    chmod(runtime.c_str(), 0755);
    chmod(socket.c_str(), 0666);
}

int outcome_for_nobody(const std::vector<gid_t> &groups)
{
    Child stranger([&](const auto &ready, const auto &) {
        as_nobody(groups);
        Proxy proxy;
        const int code = proxy.connect();
        ready();
        GMainContext *own = g_main_context_get_thread_default();
        while (code == 0 && proxy.connected + proxy.rejected == 0)
            g_main_context_iteration(own, TRUE);
        _exit(code != 0 ? 1 : proxy.connected == 1 ? 2 : proxy.last_result == -13 ? 3 : 4);
    });
    siginfo_t ended = {};
    EXPECT_TRUE(run_until([&] {
        g_main_context_wakeup(nullptr);
        return waitid(P_PID, static_cast<id_t>(stranger.pid), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid;
    }));
    return WEXITSTATUS(stranger.wait());
}

TEST_F(CredentialsTest, LetTheAgentRefuseOtherUsers)
{
    NEEDS_ROOT();
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    make_reachable(directory.path(), runtime, socket_path());
    EXPECT_EQ(3, outcome_for_nobody({}));
    EXPECT_TRUE(stub.peers.empty());
    EXPECT_TRUE(contains(log(), "of user 65534: only user")) << log();
}

TEST_F(CredentialsTest, AdmitThePackagesGroup)
{
    NEEDS_ROOT();
    install_package("Group=users\n");
    const group *users = getgrnam("users");
    ASSERT_NE(nullptr, users);
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    EXPECT_EQ(0750u, mode_of(runtime));
    EXPECT_EQ(0660u, mode_of(socket_path()));
    chmod(directory.path().c_str(), 0755);
    EXPECT_EQ(2, outcome_for_nobody({users->gr_gid}));
    EXPECT_EQ(1, outcome_for_nobody({})) << "a user outside the group reached the socket";
    EXPECT_EQ(1u, stub.peers.size());
}

TEST_F(CredentialsTest, LetTheProxyRefuseAnotherUsersAgent)
{
    NEEDS_ROOT();
    mkdir(runtime.c_str(), 0777);
    chmod(runtime.c_str(), 0777);
    chmod(directory.path().c_str(), 0755);
    Child impostor([this](const auto &ready, const auto &serve) {
        as_nobody();
        RawListener listener(socket_path());
        ready();
        serve();
    });
    Proxy proxy;
    EXPECT_EQ(-EACCES, proxy.connect());
    EXPECT_TRUE(contains(log(), "is served by user 65534")) << log();
}

TEST_F(RuntimeDirectoryTest, IsPrivateToItsUser)
{
    Stub stub;
    const mode_t before = umask(0);
    ASSERT_EQ(0, stub.listen());
    umask(before);
    EXPECT_EQ(0700u, mode_of(runtime));
    EXPECT_EQ(0600u, mode_of(socket_path()));
    EXPECT_EQ(0600u, mode_of(runtime_file(".lock")));
}

TEST_F(RuntimeDirectoryTest, LogsWhyItCannotBeCreated)
{
    std::ofstream(runtime) << "a file in the way";
    Stub stub;
    EXPECT_EQ(-ENOTDIR, stub.listen());
    EXPECT_TRUE(contains(log(), "cannot open the runtime directory " + runtime)) << log();
    Setting below("KORVANE_RUNTIME_DIR", runtime + "/below");
    Stub second;
    EXPECT_EQ(-ENOTDIR, second.listen());
    EXPECT_TRUE(contains(log(), "cannot create the runtime directory " + runtime + "/below")) << log();
}

TEST_F(RuntimeDirectoryTest, IsRefusedIfOthersCanWrite)
{
    mkdir(runtime.c_str(), 0700);
    chmod(runtime.c_str(), 0770);
    Stub stub;
    EXPECT_EQ(-EACCES, stub.listen());
    EXPECT_TRUE(contains(log(), "other users can write to the runtime directory")) << log();
}

TEST_F(RuntimeDirectoryTest, IsRefusedIfAnotherUserOwnsIt)
{
    NEEDS_ROOT();
    mkdir(runtime.c_str(), 0700);
    ASSERT_EQ(0, chown(runtime.c_str(), nobody, nogroup));
    Stub stub;
    EXPECT_EQ(-EACCES, stub.listen());
    EXPECT_TRUE(contains(log(), "belongs to user 65534")) << log();
}

TEST_F(RuntimeDirectoryTest, DefaultsToTheSessionsDirectory)
{
    Setting own("KORVANE_RUNTIME_DIR", "");
    Setting session("XDG_RUNTIME_DIR", directory.path());
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    EXPECT_EQ(0, access((directory / "korvane/org.example.agent.kv_master.sock").c_str(), F_OK));
    stub.destroy();
    EXPECT_NE(0, access((directory / "korvane/org.example.agent.kv_master.sock").c_str(), F_OK));
}

TEST_F(ListenTest, RefusesASecondAgentAndNamesTheFirst)
{
    Agent first([](Stub &, rpc_port_h main, int request) { send_number(main, request); });
    Stub second;
    EXPECT_EQ(-EADDRINUSE, second.listen());
    EXPECT_TRUE(contains(log(), "is already served by process " + std::to_string(first.pid))) << log();
    second.destroy();
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now()) << "the first agent lost its socket";
    EXPECT_EQ(0, proxy.send(4));
    EXPECT_EQ(4, proxy.read());
}

TEST_F(ListenTest, ReplacesTheSocketOfADeadAgent)
{
    {
        Agent first([](Stub &, rpc_port_h, int) {});
        first.kill_now();
    }
    ASSERT_EQ(0, access(socket_path().c_str(), F_OK));
    Stub second;
    ASSERT_EQ(0, second.listen());
    EXPECT_TRUE(contains(log(), "replaced a stale socket file")) << log();
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now());
}

TEST_F(ListenTest, RefusesToReplaceAFileThatIsNotASocket)
{
    std::filesystem::create_directory(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    std::ofstream(socket_path()) << "a file";
    Stub stub;
    EXPECT_EQ(-EEXIST, stub.listen());
    EXPECT_TRUE(contains(log(), "there is a file that is not a socket at " + socket_path() + ": remove it")) << log();
    EXPECT_TRUE(std::filesystem::is_regular_file(socket_path()));
}

TEST_F(ListenTest, AllowsTwoPortsInOneDirectory)
{
    Stub first;
    ASSERT_EQ(0, first.listen());
    rpc_port_stub_events_t none = {};
    rpc_port_stub_h other = nullptr;
    ASSERT_EQ(0, rpc_port_stub_create(&other, appid, "other", &none, nullptr));
    EXPECT_EQ(0, rpc_port_stub_listen(other));
    EXPECT_EQ(0, rpc_port_stub_destroy(other));
}

} // namespace
} // namespace kv::test
