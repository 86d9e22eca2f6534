// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/journal.hpp"
#include "sockets.hpp"

#include <libsoup/soup.h>

namespace kv::virtual_agent {

/// A client that reads the journal as it is written, over a WebSocket. What it has not taken yet waits in the journal;
/// when that is too much, the client is told so and left.
class Stream {
public:
    static constexpr std::int64_t most_entries_behind = Journal::most_entries;
    static constexpr std::int64_t most_bytes_behind = 8 << 20;
    static constexpr std::uint64_t longest_message = 64 << 10;

    /// From the entry with that number on. `ended` is called, from the main loop, when the client is gone; the stream
    /// may be destroyed in it.
    using Ended = std::function<void(const Stream &)>;
    Stream(Journal &journal, SoupWebsocketConnection *connection, std::int64_t since, Ended ended);
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    ~Stream();

private:
    void noted();
    void wait_for_room();
    /// False when there is nothing more to be sent now.
    bool send_some();

    Journal &journal_;
    Ref<SoupWebsocketConnection> connection_;
    std::int64_t next_;
    Ended ended_;
    Journal::Listener listener_;
    GSource *room_ = nullptr;
};

} // namespace kv::virtual_agent
