// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <string>

namespace kv::virtual_agent {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class Object>
using Ref = std::unique_ptr<Object, Unref>;

/// Both throw std::runtime_error, and say what to do. The file of a socket on which nobody listens is replaced; only its
/// owner can use the new one.
Ref<GSocket> listen_on_path(const std::string &path);
/// On 127.0.0.1; 0 for any port that is free.
Ref<GSocket> listen_on_port(int port);

int port_of(GSocket *socket);

/// Accepts connections, each of which has to send and take something every few seconds, or it is closed.
class Acceptor {
public:
    static constexpr unsigned patience_s = 10;

    using Accepted = std::function<void(GSocketConnection *connection)>;
    Acceptor(Ref<GSocket> socket, Accepted accepted);
    Acceptor(const Acceptor &) = delete;
    Acceptor &operator=(const Acceptor &) = delete;
    ~Acceptor();

private:
    void watch();
    void rest();
    /// False when nothing could be accepted.
    bool accept_one();

    Ref<GSocket> socket_;
    Accepted accepted_;
    GSource *source_ = nullptr;
};

} // namespace kv::virtual_agent
