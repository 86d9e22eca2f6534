// SPDX-License-Identifier: Apache-2.0
// Clients that receive events, either one by one, each requested after the one before, or in bursts, which the server
// sends with one write.

#include "clients.hpp"
#include "connections.hpp"

#include <glib-unix.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include <sys/socket.h>

namespace kv::test {

namespace {

enum class Way { one_by_one, bursts };

/// Receives and counts events.
class Receiver {
public:
    virtual ~Receiver() = default;
    /// Waits until `count` events have been received in total.
    virtual void receive_until(unsigned long count) = 0;

protected:
    unsigned long received_ = 0;
};

/// Splits received bytes into frames. The status of each frame is passed to a function that is not inlined, like the
/// callback of an application.
class Frames {
public:
    /// Receives once and returns the number of frames that it completed.
    unsigned long receive(int link)
    {
        const ssize_t size = recv(link, bytes_.data() + kept_, bytes_.size() - kept_, 0);
        if (size <= 0)
            die("events: the link ended");
        const std::size_t end = kept_ + static_cast<std::size_t>(size);
        std::size_t position = 0;
        unsigned long count = 0;
        while (end - position >= 4) {
            std::uint32_t length = 0;
            memcpy(&length, bytes_.data() + position, 4);
            if (end - position < 4 + length)
                break;
            int status = 0;
            memcpy(&status, bytes_.data() + position + length, 4);
            note(status);
            position += 4 + length;
            ++count;
        }
        kept_ = end - position;
        memmove(bytes_.data(), bytes_.data() + position, kept_);
        return count;
    }

private:
    [[gnu::noinline]] void note(int status) { last_status_ = status; }

    std::vector<unsigned char> bytes_ = std::vector<unsigned char>(std::size_t{64} << 10);
    std::size_t kept_ = 0;
    volatile int last_status_ = 0;
};

class BareReceiver : public Receiver {
public:
    explicit BareReceiver(const std::string &path) : link_(path) {}

    void receive_until(unsigned long count) override
    {
        while (received_ < count)
            received_ += frames_.receive(link_.descriptor());
    }

private:
    Socket link_;
    Frames frames_;
};

class GlibReceiver : public Receiver {
public:
    explicit GlibReceiver(const std::string &path)
        : link_(path), source_(g_unix_fd_add(link_.descriptor(), G_IO_IN, on_readable, this))
    {
    }
    GlibReceiver(const GlibReceiver &) = delete;
    GlibReceiver &operator=(const GlibReceiver &) = delete;
    ~GlibReceiver() override { g_source_remove(source_); }

    void receive_until(unsigned long count) override
    {
        while (received_ < count)
            g_main_context_iteration(nullptr, TRUE);
    }

private:
    static gboolean on_readable(int link, GIOCondition, void *self)
    {
        auto *receiver = static_cast<GlibReceiver *>(self);
        receiver->received_ += receiver->frames_.receive(link);
        return G_SOURCE_CONTINUE;
    }

    Socket link_;
    Frames frames_;
    unsigned source_;
};

class BusReceiver : public Receiver {
public:
    explicit BusReceiver(const std::string &path) : bus_(path)
    {
        if (sd_bus_match_signal(bus_.get(), nullptr, nullptr, bus_path, bus_interface, bus_signal, on_signal, this) < 0)
            fail("sd-bus: no match");
        while (sd_bus_is_ready(bus_.get()) <= 0)
            turn();
    }

    void receive_until(unsigned long count) override
    {
        while (received_ < count)
            turn();
    }

private:
    static int on_signal(sd_bus_message *message, void *self, sd_bus_error *)
    {
        int status = 0;
        if (sd_bus_message_read(message, "i", &status) >= 0 && status == 2)
            static_cast<BusReceiver *>(self)->received_++;
        return 0;
    }

    void turn() const
    {
        const int done = sd_bus_process(bus_.get(), nullptr);
        if (done < 0 || (done == 0 && sd_bus_wait(bus_.get(), UINT64_MAX) < 0))
            fail("sd-bus: the link ended");
    }

    BusLink bus_;
};

class ApiReceiver : public Receiver {
public:
    ApiReceiver()
    {
        if (korvane_set_status_changed_cb(api_.get(), on_event, this) != KORVANE_ERROR_NONE)
            fail("api: the callback cannot be set");
    }

    void receive_until(unsigned long count) override
    {
        while (received_ < count)
            g_main_context_iteration(nullptr, TRUE);
    }

private:
    static void on_event(korvane_h, int status, void *self)
    {
        if (status == 2)
            static_cast<ApiReceiver *>(self)->received_++;
    }

    ApiLink api_;
};

std::unique_ptr<Receiver> receiver_of(const std::string &kind, const std::string &folder)
{
    if (kind == peer::bare)
        return std::make_unique<BareReceiver>(event_path(kind, folder));
    if (kind == peer::glib)
        return std::make_unique<GlibReceiver>(event_path(kind, folder));
    if (kind == peer::sdbus)
        return std::make_unique<BusReceiver>(event_path(kind, folder));
    return std::make_unique<ApiReceiver>();
}

struct EventPeer {
    const char *name;
    const char *server;
    Way way;
};

class EventClient : public Client {
public:
    EventClient(const EventPeer &peer, const std::string &folder)
        : commands_(event_command_path(peer.server, folder)), receiver_(receiver_of(peer.server, folder)),
          way_(peer.way)
    {
    }

    bool needs_preparation() const override { return way_ == Way::bursts; }
    void prepare() override
    {
        char ready = 0;
        commands_.send_all(&event_command::prepare, 1);
        commands_.receive_whole(&ready, 1);
    }

    void call() override
    {
        const bool one = way_ == Way::one_by_one;
        expected_ += one ? 1 : burst_size;
        commands_.send_all(one ? &event_command::one : &event_command::send_burst, 1);
        receiver_->receive_until(expected_);
    }

private:
    Socket commands_; // connected first: the server accepts its connections in this order
    std::unique_ptr<Receiver> receiver_;
    Way way_;
    unsigned long expected_ = 0;
};

constexpr EventPeer event_peers[] = {
    {.name = peer::bare_event, .server = peer::bare, .way = Way::one_by_one},
    {.name = peer::glib_event, .server = peer::glib, .way = Way::one_by_one},
    {.name = peer::sdbus_event, .server = peer::sdbus, .way = Way::one_by_one},
    {.name = peer::api_event, .server = peer::stub, .way = Way::one_by_one},
    {.name = peer::bare_burst, .server = peer::bare, .way = Way::bursts},
    {.name = peer::glib_burst, .server = peer::glib, .way = Way::bursts},
    {.name = peer::sdbus_burst, .server = peer::sdbus, .way = Way::bursts},
    {.name = peer::api_burst, .server = peer::stub, .way = Way::bursts},
};

} // namespace

std::unique_ptr<Client> connect_event_client(const std::string &peer, const std::string &folder)
{
    for (const EventPeer &known : event_peers)
        if (peer == known.name)
            return std::make_unique<EventClient>(known, folder);
    return nullptr;
}

} // namespace kv::test
