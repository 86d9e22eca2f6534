// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_HPP
#define KORVANE_DEVICE_HPP

#include "device/sub_devices.hpp"

#include <functional>

namespace korvane {

/// States of the connection to the agent.
enum class ConnectionStatus {
    connected = KORVANE_CONNECTION_CONNECTED,       ///< Register handlers and call Device::start().
    disconnected = KORVANE_CONNECTION_DISCONNECTED, ///< The connection ended; Device::reopen() connects again.
    rejected = KORVANE_CONNECTION_REJECTED,         ///< The agent refused, or could not be reached; see the reason.
};

/// A session with the agent, from its opening to its destruction. A process can have one at a time.
///
///     auto device = korvane::Device::open([](korvane::ConnectionStatus status, std::error_code reason) { ... });
///
/// korvane_util.hpp has SupervisedConnection, which opens sessions again after each interruption and gives a Device for each.
///
/// The functions have the names, arguments and rules of korvane.h without the prefix; its descriptions name the result codes.
/// Further rules:
///  - Everything is used from the thread that runs the application's GLib main loop.
///  - A text with a NUL inside is refused with Errc::invalid_parameter, because it would be sent cut off.
///  - A handler is a function object of the application: a lambda, also one that can only be moved, a function pointer, a
///    std::function. It is called by one indirect call, that of the C callback. It may call any function, and may destroy its
///    Device or its Subscription while it runs. References and views that it receives are valid during the call.
///  - An exception that leaves a handler ends at set_exception_handler().
///  - A Device without a session, moved from or closed, fails with Errc::invalid_parameter.
class Device : public detail::SubDeviceFunctions {
public:
    /// Receives each change of the connection. `reason` is no error, Errc::service_unavailable if an update of the agent is
    /// the cause, or for a rejection Errc::permission_denied or Errc::io_error.
    using ConnectionHandler = std::function<void(ConnectionStatus status, std::error_code reason)>;

    Device() = default;
    Device(Device &&other) noexcept = default;
    Device &operator=(Device &&other) noexcept
    {
        Device former{std::move(*this)};
        session_ = std::move(other.session_);
        connection_ = std::move(other.connection_);
        return *this;
    }
    /// Ends the session. If the library refuses, because no agent is installed at the moment, the handlers are muted, and the
    /// next session that this process opens ends the former one first.
    ~Device()
    {
        if (!session_ || session_->is_supervised() || close())
            return;
        session_->mute();
        detail::unended_session() = std::move(session_);
    }

    /// Begins to connect to the agent. Requests fail until the handler receives ConnectionStatus::connected. The handler may
    /// be empty.
    static Result<Device> open(ConnectionHandler handler = {})
    {
        Device device;
        device.connection_ = detail::Reference<detail::Node>{new ConnectionNode{std::move(handler)}};
        const auto opened = device.reopen();
        if (!opened)
            return opened;
        return {std::move(device), opened.function()};
    }

    /// Ends the session, if there is one, and begins another with the same connection handler. Subscriptions, one-shot
    /// requests and what the agent knows about this connection do not survive: see docs/device-life.md. If it fails, call it
    /// again later.
    Result<void> reopen()
    {
        if (auto &unended = detail::unended_session()) {
            if (const int code = unended->close())
                return detail::outcome<korvane_deinitialize>(code);
            unended.reset();
        }
        if (const auto closed = close(); !closed)
            return closed;
        if (!connection_)
            return detail::refuse<korvane_initialize>();
        auto session = std::make_shared<detail::Session>(connection_);
        const int code = korvane_initialize(&session->handle, ConnectionNode::callback, connection_.get());
        if (code == KORVANE_ERROR_NONE)
            session_ = std::move(session);
        return detail::outcome<korvane_initialize>(code);
    }

    /// Ends the session; no handler runs afterwards. If the library refuses (Errc::not_supported, Errc::agent_version_lower),
    /// the session stays. Does nothing without a session. May be called in any handler. The session of a SupervisedConnection
    /// is closed by the connection: Errc::invalid_parameter.
    Result<void> close()
    {
        if (session_ && session_->is_supervised())
            return detail::refuse<korvane_deinitialize>();
        const auto session = std::move(session_);
        session_ = nullptr;
        if (!session)
            return detail::outcome<korvane_deinitialize>(KORVANE_ERROR_NONE);
        const int code = session->close();
        if (code != KORVANE_ERROR_NONE)
            session_ = session;
        return detail::outcome<korvane_deinitialize>(code);
    }

    /// Whether a session exists. It need not be connected.
    bool is_open() const noexcept { return session_ != nullptr; }

private:
    friend class SupervisedConnection;

    /// The connection handler, which all sessions of this object share.
    class ConnectionNode final : public detail::Node {
    public:
        explicit ConnectionNode(ConnectionHandler handler) : handler_(std::move(handler)) {}

        static void callback(int result, korvane_h, int status, void *user_data)
        {
            auto &node = *static_cast<ConnectionNode *>(user_data);
            if (!node.handler_)
                return;
            detail::run_handler(detail::name_of<korvane_initialize>(), node, node.handler_,
                                std::tuple{static_cast<ConnectionStatus>(status),
                                           std::error_code{result, error_category()}, user_data});
        }

    private:
        ConnectionHandler handler_;
    };

    detail::Reference<detail::Node> connection_{};
};

} // namespace korvane

#endif
