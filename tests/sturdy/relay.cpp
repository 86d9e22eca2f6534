// SPDX-License-Identifier: Apache-2.0
#include "relay.hpp"

#include "sturdy.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <list>
#include <system_error>
#include <vector>

#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::sturdy {

namespace {

using test::FileDescriptor;

sockaddr_un address_of(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

FileDescriptor new_socket()
{
    return FileDescriptor{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
}

/// One client and its connection to the agent.
struct Link {
    std::size_t number;
    std::array<FileDescriptor, direction_count> from; // by the direction of the bytes that are read there
    bool stalled = false;
};

class RelayProcess {
public:
    RelayProcess(RelayState &state, int listener, const std::string &agent)
        : state_(state), listener_(listener), agent_(agent)
    {
    }

    [[noreturn]] void run()
    {
        while (true) {
            std::vector<pollfd> waits{{listener_, POLLIN, 0}};
            for (const Link &link : links_)
                for (const std::size_t direction : {to_agent, to_application}) {
                    const bool is_silent = link.stalled && direction == state_.direction;
                    waits.push_back({link.from[direction].get(), static_cast<short>(is_silent ? 0 : POLLIN), 0});
                }
            ::poll(waits.data(), waits.size(), -1);
            std::size_t next = 1;
            for (auto link = links_.begin(); link != links_.end();) {
                bool lives = true;
                for (const std::size_t direction : {to_agent, to_application})
                    if (const short events = waits[next++].revents; lives && events != 0)
                        lives = (events & POLLIN) != 0 && pass(*link, direction);
                link = lives ? std::next(link) : links_.erase(link);
            }
            if (waits[0].revents != 0)
                accept();
        }
    }

private:
    void accept()
    {
        if (session_ != state_.session) {
            session_ = state_.session;
            next_number_ = 0;
        }
        Link link{next_number_++, {FileDescriptor{::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)}, new_socket()}};
        const sockaddr_un address = address_of(agent_);
        if (::connect(link.from[to_application].get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) ==
            0)
            links_.push_back(std::move(link));
    }

    /// Whether the fault of this session concerns these bytes.
    bool is_faulty(const Link &link, std::size_t direction) const
    {
        return state_.fault != Fault::none && link.number == state_.link && direction == state_.direction;
    }

    /// Returns false if the link ends.
    bool pass(Link &link, std::size_t direction)
    {
        if (link.number >= link_count)
            return false; // of an application that connects again
        auto &passed = state_.passed[link.number][direction];
        char bytes[65536];
        std::int64_t wanted = sizeof bytes;
        if (is_faulty(link, direction)) {
            const std::int64_t before = state_.at - passed;
            if (before <= 0 && !begin_fault(link))
                return false;
            if (link.stalled)
                return true;
            if (before <= 0)
                ::poll(nullptr, 0, 20); // it trickles
            wanted = std::clamp<std::int64_t>(before, 1, wanted);
        }
        const ssize_t count = ::read(link.from[direction].get(), bytes, static_cast<std::size_t>(wanted));
        if (count <= 0 ||
            ::send(link.from[1 - direction].get(), bytes, static_cast<std::size_t>(count), MSG_NOSIGNAL) != count)
            return false;
        passed += count;
        return !is_faulty(link, direction) || state_.fault != Fault::cut || passed < state_.at || begin_fault(link);
    }

    /// Returns false if the link is cut.
    bool begin_fault(Link &link)
    {
        if (state_.happened_ns == 0)
            state_.happened_ns = Clock::now().time_since_epoch().count();
        link.stalled = state_.fault == Fault::stall;
        return state_.fault != Fault::cut;
    }

    RelayState &state_;
    int listener_;
    std::string agent_;
    std::list<Link> links_;
    int session_ = 0;
    std::size_t next_number_ = 0;
};

} // namespace

Relay::Relay(const std::string &served, const std::string &agent)
    : state_(static_cast<RelayState *>(
          ::mmap(nullptr, sizeof(RelayState), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
      listener_(new_socket())
{
    const sockaddr_un address = address_of(served);
    if (state_ == MAP_FAILED ||
        ::bind(listener_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener_.get(), 16) != 0)
        throw std::system_error{errno, std::generic_category(), "cannot serve " + served};
    process_.emplace([this, agent]() -> int { RelayProcess{*state_, listener_.get(), agent}.run(); });
}

Relay::~Relay()
{
    process_.reset();
    ::munmap(state_, sizeof(RelayState));
}

void Relay::begin(Fault fault, std::size_t link, std::size_t direction, std::int64_t at)
{
    state_->fault = Fault::none;
    for (auto &directions : state_->passed)
        for (auto &passed : directions)
            passed = 0;
    state_->link = link;
    state_->direction = direction;
    state_->at = at;
    state_->happened_ns = 0;
    ++state_->session;
    state_->fault = fault;
}

std::int64_t Relay::passed(std::size_t link, std::size_t direction) const
{
    return state_->passed[link][direction];
}

} // namespace kv::sturdy
