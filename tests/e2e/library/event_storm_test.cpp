// SPDX-License-Identifier: Apache-2.0
// An agent that sends 100,000 events at once, faster than the application reads them, over real sockets. Either all of
// them arrive in order, or the link is closed and the application receives a disconnection. No event is lost without
// notice, memory is bounded, and timers still run.
#include "e2e/fixtures/application.hpp"
#include "testing/support/child_process.hpp"

#include <package_info_write.h>
#include <rpc_port_stub.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

using namespace kv::test;

namespace {

constexpr int storm = 100'000;
// The number of events that one iteration of the main loop may deliver.
constexpr int max_between_two_ticks = 4096;

#ifdef __SANITIZE_ADDRESS__
constexpr bool memory_is_measured = false; // the sanitizer keeps freed memory
#else
constexpr bool memory_is_measured = true;
#endif

// Ids of the methods that the test uses.
enum Method { is_update_ready = 2, stop = 4, set_status_changed_cb = 6, reset = 16, set_nick_changed_cb = 71 };

/// The agent's report after it has sent its events.
struct Sent {
    int events;
    bool cut_off; // the link ended before the last event
    long peak_kb; // the agent's highest resident memory
};

long memory_of_this_process(const std::string &line_start)
{
    std::ifstream status{"/proc/self/status"};
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(line_start))
            return std::strtol(line.c_str() + line_start.size(), nullptr, 10);
    return -1;
}

/// An agent with a few methods. `reset` sends the events after its reply, `stop` before it.
class StormingAgent {
public:
    explicit StormingAgent(std::string text) : text_(std::move(text))
    {
        static const rpc_port_stub_events_t events = {
            nullptr, nullptr, nullptr, [](const rpc_port_stub_peer_t *peer, rpc_port_h port, void *data) {
                static_cast<StormingAgent *>(data)->answer(*peer, port);
            }};
        rpc_port_stub_create(&stub_, "org.korvane.agent", "kv_master", &events, this);
    }

    bool listen() { return rpc_port_stub_listen(stub_) == 0; }

private:
    void answer(const rpc_port_stub_peer_t &peer, rpc_port_h port)
    {
        rpc_port_parcel_h request = nullptr;
        if (rpc_port_parcel_create_from_port(&request, port) != 0)
            return;
        int method = 0;
        rpc_port_parcel_read_int32(request, &method);
        if (method == set_status_changed_cb || method == set_nick_changed_cb) {
            rpc_port_parcel_read_int32(request, &id_);
            rpc_port_parcel_read_int32(request, &seq_id_);
        }
        rpc_port_parcel_destroy(request);

        if (method == stop)
            send_the_storm(peer);
        rpc_port_parcel_h reply = nullptr;
        rpc_port_parcel_create(&reply);
        rpc_port_parcel_write_int32(reply, 0);
        if (method == is_update_ready)
            rpc_port_parcel_write_bool(reply, false);
        rpc_port_parcel_write_int32(reply, 0);
        rpc_port_parcel_send(reply, port);
        rpc_port_parcel_destroy(reply);
        if (method == reset)
            send_the_storm(peer);
    }

    void send_the_storm(const rpc_port_stub_peer_t &peer)
    {
        rpc_port_h callbacks = nullptr;
        rpc_port_stub_get_port(stub_, peer.instance, RPC_PORT_PORT_CALLBACK, &callbacks);
        Sent sent{};
        while (sent.events < storm && !sent.cut_off) {
            rpc_port_parcel_h event = nullptr;
            rpc_port_parcel_create(&event);
            rpc_port_parcel_write_int32(event, 1);
            rpc_port_parcel_write_int32(event, id_);
            rpc_port_parcel_write_int32(event, seq_id_);
            rpc_port_parcel_write_bool(event, false);
            rpc_port_parcel_write_int32(event, sent.events);
            if (!text_.empty())
                rpc_port_parcel_write_string(event, text_.c_str());
            sent.cut_off = rpc_port_parcel_send(event, callbacks) != 0;
            sent.events += !sent.cut_off;
            rpc_port_parcel_destroy(event);
        }
        sent.peak_kb = memory_of_this_process("VmHWM:");
        std::printf("%d %d %ld\n", sent.events, static_cast<int>(sent.cut_off), sent.peak_kb);
        std::fflush(stdout);
    }

    std::string text_; // of every event, after its number; empty: the event is a number only
    rpc_port_stub_h stub_ = nullptr;
    int id_ = 0;
    int seq_id_ = 0;
};

class EventStorm : public testing::Test {
protected:
    ~EventStorm() override { application.deinitialize(); }

    /// Starts the agent as a child process and connects the application to it.
    void begin(const std::string &text = {})
    {
        std::filesystem::create_directories(home.packages());
        ASSERT_EQ(package_info_install("org.korvane.agent", "2.3", nullptr, nullptr, nullptr), 0);
        agent_.emplace([text] {
            GMainContext *context = g_main_context_new();
            g_main_context_push_thread_default(context);
            StormingAgent agent{text};
            std::puts(agent.listen() ? "ready" : "cannot listen");
            std::fflush(stdout);
            for (;;)
                g_main_context_iteration(context, true);
            return 0;
        });
        ASSERT_EQ(agent_->wait_for_line(), "ready");
        ASSERT_TRUE(application.connect());
    }

    bool agent_logged(const std::string &text) const { return agent_->error_output().find(text) != std::string::npos; }

    /// Blocks until the agent has sent its events.
    void wait_for_agent()
    {
        const std::optional<std::string> line = agent_->wait_for_line();
        ASSERT_TRUE(line);
        int cut_off = 0;
        ASSERT_EQ(std::sscanf(line->c_str(), "%d %d %ld", &sent.events, &cut_off, &sent.peak_kb), 3) << *line;
        sent.cut_off = cut_off != 0;
    }

    /// Counts an event. The callback of the first event blocks until the agent has sent all of them.
    void take(int number)
    {
        if (received == 0 && blocks_in_first_callback)
            wait_for_agent();
        out_of_order += number != received++;
    }
    static void on_status(korvane_h, int status, void *data) { static_cast<EventStorm *>(data)->take(status); }
    static void on_nick(korvane_h, int number, const char *text, void *data)
    {
        auto &self = *static_cast<EventStorm *>(data);
        self.wrong_texts += std::strlen(text) != self.text_size;
        self.take(number);
    }

    /// Starts a timer that counts the events between two of its ticks.
    void start_ticking()
    {
        timer_ = g_timeout_add(
            0,
            [](gpointer data) -> gboolean {
                auto &self = *static_cast<EventStorm *>(data);
                self.largest_gap = std::max(self.largest_gap, self.received - self.at_last_tick);
                self.at_last_tick = self.received;
                return G_SOURCE_CONTINUE;
            },
            this);
    }
    void stop_ticking() const { g_source_remove(timer_); }

    AgentHome home;
    Application application;
    Sent sent{};
    bool blocks_in_first_callback = true;
    std::size_t text_size = 0;
    int received = 0;
    int out_of_order = 0;
    int wrong_texts = 0;
    int largest_gap = 0;
    int at_last_tick = 0;

private:
    std::optional<ChildProcess> agent_{};
    guint timer_ = 0;
};

TEST_F(EventStorm, DuringABlockedCallbackArrivesCompleteInOrderWithTimersInBetween)
{
    begin();
    ASSERT_EQ(korvane_set_status_changed_cb(application.handle, on_status, this), KORVANE_ERROR_NONE);
    const long before_kb = memory_of_this_process("VmHWM:");
    start_ticking();
    ASSERT_EQ(korvane_reset(application.handle), KORVANE_ERROR_NONE);
    EXPECT_TRUE(run_main_loop_until([this] { return received == storm; })) << received << " arrived";
    stop_ticking();
    EXPECT_EQ(sent.events, storm);
    EXPECT_FALSE(sent.cut_off);
    EXPECT_EQ(out_of_order, 0);
    EXPECT_GT(largest_gap, 0);
    EXPECT_LE(largest_gap, max_between_two_ticks);
    EXPECT_EQ(application.changes, std::vector{connected});
    if (memory_is_measured) {
        constexpr long few_kb = 4 << 10;
        EXPECT_LT(memory_of_this_process("VmHWM:") - before_kb, few_kb) << "of the application";
    }
    EXPECT_EQ(korvane_set_mot_status(application.handle, true), KORVANE_ERROR_NONE) << "requests still work";
}

TEST_F(EventStorm, BeforeAReplyArrivesCompleteInOrderAfterTheCall)
{
    begin();
    blocks_in_first_callback = false;
    ASSERT_EQ(korvane_set_status_changed_cb(application.handle, on_status, this), KORVANE_ERROR_NONE);
    ASSERT_EQ(korvane_stop(application.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(received, 0) << "events are not dispatched inside a call";
    wait_for_agent();
    EXPECT_FALSE(sent.cut_off);
    EXPECT_TRUE(run_main_loop_until([this] { return received == storm; })) << received << " arrived";
    EXPECT_EQ(out_of_order, 0);
    EXPECT_EQ(application.changes, std::vector{connected});
}

/// 400 MB of events. The agent queues at most 4 MiB for an application that does not read; then it closes the link.
TEST_F(EventStorm, BeyondTheQueueOfTheAgentEndsTheLinkAfterTheEventsBeforeIt)
{
    text_size = 4 << 10;
    begin(std::string(text_size, 'x'));
    ASSERT_EQ(korvane_set_nick_changed_cb(application.handle, on_nick, this), KORVANE_ERROR_NONE);
    start_ticking();
    ASSERT_EQ(korvane_reset(application.handle), KORVANE_ERROR_NONE);
    int received_at_disconnection = -1;
    application.on_change = [&](const Application::Change &) { received_at_disconnection = received; };
    EXPECT_TRUE(run_main_loop_until([this] { return application.changes.size() == 2; }));
    stop_ticking();
    EXPECT_EQ(application.changes, (std::vector{connected, disconnected}));
    EXPECT_TRUE(sent.cut_off);
    EXPECT_LT(sent.events, storm);
    EXPECT_GT(received, 0);
    EXPECT_LE(received, sent.events);
    EXPECT_EQ(received_at_disconnection, received) << "no event follows the disconnection";
    EXPECT_EQ(out_of_order, 0) << "the events before the end are complete";
    EXPECT_EQ(wrong_texts, 0) << "the last event is complete";
    EXPECT_LE(largest_gap, max_between_two_ticks);
    EXPECT_TRUE(agent_logged("does not read")) << "the agent logs the reason";
    if (memory_is_measured) {
        constexpr long peak_kb = 48 << 10; // the copy of this process, and twice the queue while it grows
        EXPECT_LT(sent.peak_kb, peak_kb) << "of the agent";
    }
    EXPECT_EQ(korvane_stop(application.handle), KORVANE_ERROR_OPERATION_FAILED) << "the link is closed";
}

TEST_F(EventStorm, ThatEndedTheLinkAllowsANewSession)
{
    text_size = 4 << 10;
    begin(std::string(text_size, 'x'));
    ASSERT_EQ(korvane_set_nick_changed_cb(application.handle, on_nick, this), KORVANE_ERROR_NONE);
    ASSERT_EQ(korvane_reset(application.handle), KORVANE_ERROR_NONE);
    ASSERT_TRUE(run_main_loop_until([this] { return application.changes.size() == 2; }));
    const int received_before = received;
    ASSERT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(application.connect());
    EXPECT_EQ(korvane_set_mot_status(application.handle, true), KORVANE_ERROR_NONE);
    EXPECT_EQ(received, received_before);
}

} // namespace
