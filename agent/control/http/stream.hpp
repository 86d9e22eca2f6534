// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/journal.hpp"
#include "agent/loop/source.hpp"
#include "gobject.hpp"

#include <libsoup/soup.h>

namespace kv::virtual_agent {

/// A client that reads the journal over a WebSocket as it is written. Entries wait in the journal until the client can
/// take them; a client that falls too far behind is disconnected with the reason.
class Stream {
public:
    static constexpr std::int64_t max_entries_behind = Journal::max_entries;
    static constexpr std::int64_t max_bytes_behind = 8 << 20;
    static constexpr std::uint64_t max_message = 64 << 10;

    /// Begins with the entry number `since`. `ended` is called from the main loop once the client has disconnected; it
    /// may destroy the stream.
    using Ended = std::function<void(const Stream &)>;
    Stream(Journal &journal, SoupWebsocketConnection *connection, std::int64_t since, Ended ended);
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    ~Stream();

private:
    void send_new();
    void wait_for_room();
    /// Returns false once all entries are sent.
    bool send_some();

    Journal &journal_;
    Ref<SoupWebsocketConnection> connection_;
    std::int64_t next_;
    Ended ended_;
    Journal::Listener listener_;
    Source room_{};
};

} // namespace kv::virtual_agent
