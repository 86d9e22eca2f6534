// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "traffic.hpp"

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

namespace kv::ctl {

/// The two ends of a link, by the direction of the bytes that come from them.
enum End : std::size_t { application, agent, end_count };

/// Reads the bytes that pass a link: finds the frames, decodes the parcel in each and adds it to the traffic. The bytes may
/// be anything. From the first mistake in the frames on, nothing more of the link is read; the relay passes it on all the same.
class LinkReader {
public:
    /// `number` is for warnings.
    LinkReader(int number, Traffic &traffic) : number_(number), traffic_(traffic) {}

    void take(End from, const char *bytes, std::size_t size);
    /// The agent has closed the link before the application did.
    void ended_by_agent();

private:
    enum class Link { unknown, main, callback };

    void take_frame(End from, std::string_view payload);
    void take_from_application(std::string_view payload);
    void take_from_agent(std::string_view payload);
    void take_handshake(std::string_view payload);
    bool is_handshake_reply(std::string_view payload);
    void take_request(std::string_view payload);
    void take_reply(std::string_view payload);
    void take_event(std::string_view payload);
    void read_no_more(const std::string &reason);
    std::string name() const { return "link " + std::to_string(number_); }

    int number_;
    Traffic &traffic_;
    std::shared_ptr<Connection> connection_ = std::make_shared<Connection>(); // until the handshake one of its own
    Link link_ = Link::unknown;
    bool reads_ = true;                              // no mistake yet
    bool first_of_agent_ = true;                     // the agent has sent nothing yet
    std::array<std::string, end_count> pending_{};   // the beginning of a frame
    std::deque<std::pair<int, std::size_t>> open_{}; // methods and entries of requests without a reply, in order
};

} // namespace kv::ctl
