// SPDX-License-Identifier: Apache-2.0
// The connection to the cloud and its keep-alives.
#include "agent/interface/from_json.hpp"
#include "cloud_fixture.hpp"
#include "testing/support/child_process.hpp"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <arpa/inet.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace kv;
using namespace kv::test;
using namespace kv::virtual_agent;

namespace {

constexpr int keep_alive_size = 12; // "keep-alive" and a line feed

/// Makes records of one number each.
template <class A>
auto records_of(const char *field, const std::vector<int> &numbers)
{
    Json records = Json::array();
    for (int number : numbers)
        records.append(std::move(Json::object().set(field, number)));
    return from_json(describe::Arr<A, "records">{}, records.get());
}

class AgentSession : public AgentCloud {
protected:
    int set_intervals(const std::vector<int> &seconds)
    {
        return ask(master::set_keepalive_intervals{},
                   records_of<master::keepalive_info_array>("interval", seconds).get());
    }
    int select(const std::vector<int> &indexes)
    {
        return ask(master::select_keepalive_intervals{},
                   records_of<master::keepalive_index_info_array>("index", indexes).get());
    }
    void sign_in()
    {
        sign_up();
        sent_events();
    }
};

TEST_F(AgentSession, KeepsAliveEveryMinuteByDefault)
{
    clock.advance(3'600'000);
    EXPECT_EQ(sent_events(), Events{}) << "no keep-alives while the device is signed out";
    sign_in();
    clock.advance(59'999);
    EXPECT_EQ(sent_events(), Events{});
    clock.advance(1);
    EXPECT_EQ(sent_events(), Events{keep_alive(0)});
    step("sign-out");
    sent_events();
    clock.advance(3'600'000);
    EXPECT_EQ(sent_events(), Events{});
}

TEST_F(AgentSession, SendsTheKeepAlivesOfADayWhenTheClockAdvancesByADay)
{
    sign_in();
    clock.advance(86'400'000);
    EXPECT_EQ(sent_events(), Events(1440, keep_alive(0)));
    EXPECT_EQ(state.cloud.session->sent, 1440 * keep_alive_size);
    EXPECT_EQ(state.cloud.session->received, 1440 * keep_alive_size) << "every keep-alive is echoed";
    EXPECT_TRUE(has(shown(), R"("rounds":1440)"));
}

TEST_F(AgentSession, UsesTheFirstIntervalUntilOthersAreSelected)
{
    EXPECT_EQ(set_intervals({10, 20, 30}), 0);
    sign_in();
    clock.advance(20'000);
    EXPECT_EQ(sent_events(), (Events{keep_alive(0), keep_alive(0)}));

    EXPECT_EQ(select({2, 0}), 0);
    clock.advance(29'999);
    EXPECT_EQ(sent_events(), Events{});
    clock.advance(1);
    EXPECT_EQ(sent_events(), Events{keep_alive(0)});
    clock.advance(9'999);
    EXPECT_EQ(sent_events(), Events{});
    clock.advance(1);
    EXPECT_EQ(sent_events(), Events{keep_alive(0)}) << "the selected intervals alternate";
    clock.advance(30'000);
    EXPECT_EQ(sent_events(), Events{keep_alive(0)});
}

TEST_F(AgentSession, NeverKeepsAliveMoreOftenThanOnceASecond)
{
    for (int seconds : {0, -5, -2147483647 - 1}) {
        set_intervals({seconds});
        sign_in();
        clock.advance(3000);
        EXPECT_EQ(sent_events(), Events(3, keep_alive(0))) << seconds;
        step("sign-out");
    }
}

TEST_F(AgentSession, AcceptsTheMaximumInterval)
{
    sign_in();
    EXPECT_EQ(set_intervals({2147483647}), 0);
    clock.advance(86'400'000);
    EXPECT_EQ(sent_events(), Events{});
}

TEST_F(AgentSession, RefusesToSelectIndexesOutsideTheTable)
{
    EXPECT_EQ(select({0}), -1) << "no table is set";
    EXPECT_EQ(set_intervals({10, 20}), 0);
    EXPECT_EQ(select({1}), 0);
    EXPECT_EQ(select({0, 2}), -1);
    EXPECT_EQ(select({-1}), -1);
    EXPECT_TRUE(has(shown(), R"("selected":[1],"interval_s":20)")) << "a refused selection keeps the earlier one";
    EXPECT_EQ(set_intervals({40}), 0);
    EXPECT_TRUE(has(shown(), R"("selected":[],"interval_s":40)")) << "a new table has no selection";
    EXPECT_EQ(set_intervals(std::vector<int>(1025, 5)), -1) << "the table is longer than the limit";
}

TEST_F(AgentSession, KeepsAliveAtOnceOnRequest)
{
    EXPECT_EQ(ask(master::send_keepalive{}), -1) << "the device is signed out";
    sign_in();
    clock.advance(50'000);
    EXPECT_EQ(ask(master::send_keepalive{}), 0);
    EXPECT_EQ(sent_events(), Events{keep_alive(0)});
    clock.advance(59'999);
    EXPECT_EQ(sent_events(), Events{}) << "the next interval begins with that keep-alive";
    clock.advance(1);
    EXPECT_EQ(sent_events(), Events{keep_alive(0)});
}

TEST_F(AgentSession, EndsKeepAlivesWithTheGivenResult)
{
    sign_in();
    step("keepalive", R"({"result":-110})");
    clock.advance(120'000);
    step("keepalive", R"({"result":0})");
    clock.advance(60'000);
    EXPECT_EQ(sent_events(), (Events{keep_alive(-110), keep_alive(-110), keep_alive(0)}));
    EXPECT_TRUE(state.signed_in);
}

// ---- the connection --------------------------------------------------------------------------------------------------

/// The connection as the kernel lists it: addresses, ports and state in hexadecimal.
bool kernel_lists(const virtual_agent::TcpHeader &header)
{
    const auto end = [](const std::string &address, int port) {
        std::ostringstream text;
        in_addr binary{};
        inet_pton(AF_INET, address.c_str(), &binary);
        text << std::hex << std::uppercase;
        text.fill('0');
        text.width(8);
        text << binary.s_addr << ':';
        text.width(4);
        text << port;
        return text.str();
    };
    const std::string wanted =
        end(header.src_addr, header.src_port) + " " + end(header.dst_addr, header.dst_port) + " 01"; // established
    std::ifstream list{"/proc/net/tcp"};
    for (std::string line; std::getline(list, line);)
        if (line.find(wanted) != std::string::npos)
            return true;
    return false;
}

/// The socket of this process in a connection with these ports.
int descriptor_between(int local, int remote)
{
    for (int fd = 3; fd < 1024; ++fd) {
        sockaddr_in here{};
        sockaddr_in there{};
        socklen_t here_size = sizeof here;
        socklen_t there_size = sizeof there;
        if (::getsockname(fd, reinterpret_cast<sockaddr *>(&here), &here_size) == 0 &&
            ::getpeername(fd, reinterpret_cast<sockaddr *>(&there), &there_size) == 0 && here.sin_family == AF_INET &&
            ntohs(here.sin_port) == local && ntohs(there.sin_port) == remote)
            return fd;
    }
    return -1;
}

/// Removes CAP_NET_ADMIN from this thread for the lifetime of the object.
class WithoutNetAdmin {
public:
    WithoutNetAdmin()
    {
        ::syscall(SYS_capget, &header_, former_);
        __user_cap_data_struct fewer[2] = {former_[0], former_[1]};
        fewer[0].effective &= ~(1U << CAP_NET_ADMIN);
        EXPECT_EQ(::syscall(SYS_capset, &header_, fewer), 0);
    }
    WithoutNetAdmin(const WithoutNetAdmin &) = delete;
    WithoutNetAdmin &operator=(const WithoutNetAdmin &) = delete;
    ~WithoutNetAdmin() { ::syscall(SYS_capset, &header_, former_); }

    static bool had()
    {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct data[2]{};
        ::syscall(SYS_capget, &header, data);
        return (data[0].effective & (1U << CAP_NET_ADMIN)) != 0;
    }

private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct former_[2]{};
};

TEST_F(AgentSession, IsARealTcpConnection)
{
    EXPECT_EQ(cloud.tcp_header(), std::nullopt);
    EXPECT_EQ(ask(master::get_tcp_header_info{}), -1);
    sign_in();
    const std::optional<TcpHeader> header = cloud.tcp_header();
    ASSERT_TRUE(header);
    EXPECT_EQ(header->src_addr, "127.0.0.1");
    EXPECT_TRUE(kernel_lists(*header));
    EXPECT_GT(header->window, 0);
    EXPECT_LE(header->window, 65535) << "the TCP header has 16 bits for it";
    step("sign-out");
    EXPECT_FALSE(kernel_lists(*header));
}

TEST_F(AgentSession, ReportsItsHeaderByTheNamesThatApplicationsUse)
{
    sign_in();
    const auto answer = handlers.handle(master::get_tcp_header_info{}, call);
    EXPECT_EQ(answer.result, 0);
    const Json info = Json::parse(std::get<0>(answer.outs));
    const TcpHeader header = *cloud.tcp_header();
    const auto number = [&](const char *name) {
        return cJSON_GetNumberValue(cJSON_GetObjectItem(info.get(), (std::string{"tcp_header_info_"} + name).c_str()));
    };
    const auto text = [&](const char *name) {
        return cJSON_GetStringValue(cJSON_GetObjectItem(info.get(), (std::string{"tcp_header_info_"} + name).c_str()));
    };
    EXPECT_EQ(number("ip_version"), 4);
    EXPECT_STREQ(text("src_addr"), "127.0.0.1");
    EXPECT_STREQ(text("dst_addr"), "127.0.0.1");
    EXPECT_EQ(number("src_port"), header.src_port);
    EXPECT_EQ(number("dst_port"), header.dst_port);
    EXPECT_EQ(number("seq_num"), header.seq_num);
    EXPECT_EQ(number("ack_num"), header.ack_num);
    EXPECT_EQ(number("window"), header.window);
    EXPECT_EQ(number("window_scale"), header.window_scale);
}

TEST_F(AgentSession, CountsItsNumbersWithoutThePrivilegeToReadThem)
{
    sign_in();
    const WithoutNetAdmin without;
    EXPECT_FALSE(cloud.tcp_header()->has_kernel_numbers);
    EXPECT_EQ(cloud.tcp_header()->seq_num, 1U);
    EXPECT_EQ(cloud.tcp_header()->ack_num, 1U);
    clock.advance(60'000);
    EXPECT_EQ(cloud.tcp_header()->seq_num, 1U + keep_alive_size);
    EXPECT_EQ(cloud.tcp_header()->ack_num, 1U + keep_alive_size);
}

TEST_F(AgentSession, ReadsTheKernelsNumbersAndLeavesTheConnectionIntact)
{
    if (!WithoutNetAdmin::had())
        GTEST_SKIP() << "this test needs CAP_NET_ADMIN";
    sign_in();
    const TcpHeader before = *cloud.tcp_header();
    EXPECT_TRUE(before.has_kernel_numbers);
    clock.advance(120'000);
    const TcpHeader after = *cloud.tcp_header();
    EXPECT_EQ(after.seq_num, before.seq_num + 2 * keep_alive_size);
    EXPECT_EQ(after.ack_num, before.ack_num + 2 * keep_alive_size);
    EXPECT_EQ(sent_events(), (Events{keep_alive(0), keep_alive(0)}));
    EXPECT_TRUE(kernel_lists(after));

    // Each end expects the sequence number that the other end sends next.
    step("sign-out");
    step("sign-in");
    EXPECT_NE(cloud.tcp_header()->seq_num, after.seq_num) << "a new connection has another initial number";
}

/// Makes socket() fail for IPv4 in this process, as systemd's RestrictAddressFamilies= does.
bool refuse_ipv4()
{
    sock_filter instructions[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_INET, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAFNOSUPPORT),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(instructions), instructions};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

TEST_F(AgentSession, IsSimulatedWhereTcpIsNotAllowed)
{
    // The filter cannot be removed, so a copy of this process installs it.
    ChildProcess restricted{[this] {
        EXPECT_TRUE(refuse_ipv4());
        sign_in();
        EXPECT_TRUE(state.signed_in);
        EXPECT_EQ(handlers.handle(master::get_tcp_header_info{}, call).result, 0);
        EXPECT_TRUE(has(shown(), R"("numbers":"simulated")"));
        clock.advance(60'000);
        EXPECT_EQ(sent_events(), Events{keep_alive(0)});
        const std::optional<TcpHeader> header = cloud.tcp_header();
        EXPECT_EQ(header ? header->src_addr : "", "127.0.0.1");
        EXPECT_EQ(header ? header->dst_port : 0, 443);
        EXPECT_EQ(header ? header->seq_num : 0, 1U + keep_alive_size);
        EXPECT_EQ(header ? header->ack_num : 0, 1U + keep_alive_size);

        step("drop-session", R"({"after_ms":1000})");
        clock.advance(1000);
        EXPECT_EQ(sent_events(), (Events{session_lost(-ECONNRESET), signed_out, signed_in}));
        std::fflush(stdout);
        return HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS;
    }};
    EXPECT_EQ(restricted.wait(), EXIT_SUCCESS) << restricted.output();
    EXPECT_EQ(
        restricted.error_output(),
        "korvane-agent: no connection to the cloud: socket: Address family not supported by protocol; the session "
        "with the cloud is simulated, and get_tcp_header_info returns simulated values\n")
        << "once, for both sessions";
}

TEST_F(AgentSession, IsRestoredAfterItsConnectionBreaks)
{
    sign_in();
    const TcpHeader header = *cloud.tcp_header();
    const int other_end = descriptor_between(header.dst_port, header.src_port);
    ASSERT_GE(other_end, 0);
    ASSERT_EQ(::shutdown(other_end, SHUT_RDWR), 0);
    while (state.signed_in)
        g_main_context_iteration(nullptr, true);
    EXPECT_EQ(sent_events(), (Events{session_lost(-ECONNRESET), signed_out}));
    clock.advance(1000);
    EXPECT_EQ(sent_events(), Events{signed_in});
    EXPECT_TRUE(kernel_lists(*cloud.tcp_header()));
}

TEST_F(AgentSession, IsLostIfAKeepAliveIsNotEchoed)
{
    sign_in();
    const TcpHeader header = *cloud.tcp_header();
    ASSERT_EQ(::shutdown(descriptor_between(header.dst_port, header.src_port), SHUT_RDWR), 0);
    clock.advance(60'000);
    const Events all = sent_events();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_NE(all[0], keep_alive(0));
    EXPECT_EQ(all[2], signed_out);
}

} // namespace
