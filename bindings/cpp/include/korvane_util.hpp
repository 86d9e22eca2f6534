// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_UTIL_HPP
#define KORVANE_UTIL_HPP

/// The supervised connection of korvane_util.h with C++ types: header-only, C++17. Link with -lkorvane-util -lkorvane.
///
///     #include <korvane_util.hpp>
///
///     auto opened = korvane::SupervisedConnection::open([](korvane::Device &device) { return device.start(); });

#include <korvane.hpp>
#include <korvane_util.h>

#include <functional>
#include <memory>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace korvane {

/// States of a supervised connection. Each but the first two and the last is followed by another attempt.
enum class SupervisedState {
    connecting = KORVANE_UTIL_CONNECTING,         ///< An attempt is under way.
    connected = KORVANE_UTIL_CONNECTED,           ///< The agent is connected, and the device is configured.
    not_installed = KORVANE_UTIL_NOT_INSTALLED,   ///< No agent is installed.
    updating = KORVANE_UTIL_UPDATING,             ///< The agent is being updated.
    unreachable = KORVANE_UTIL_UNREACHABLE,       ///< The agent does not run or does not reply.
    lost = KORVANE_UTIL_LOST,                     ///< The connection broke.
    not_configured = KORVANE_UTIL_NOT_CONFIGURED, ///< The configure function has failed.
    refused = KORVANE_UTIL_REFUSED, ///< The agent or the platform denies the connection; no attempt follows.
};

/// Returns the name of a state in words: "not installed".
inline const char *state_name(SupervisedState state) noexcept
{
    return korvane_util_get_state_name(static_cast<int>(state));
}

/// A connection that is made again after each end, update or installation of the agent. A process can have one at a time.
///
/// After each connection it calls the configure function, because a new connection has no registrations:
///
///     void configure(korvane::Device &device)
///     {
///         device.on_nick_changed([](int, std::string_view nick) { show(nick); }).value().keep();
///         device.start().value();
///     }
///
///     auto opened = korvane::SupervisedConnection::open(configure, on_state);
///
/// Everything is used from the thread that runs the application's GLib main loop.
class SupervisedConnection {
public:
    /// Receives each change of the state, and each attempt that fails for another reason than the one before. `reason` is the
    /// result code that led to the state. May do what the configure function may.
    using StateHandler = std::function<void(SupervisedState state, std::error_code reason)>;

    SupervisedConnection() = default;
    SupervisedConnection(SupervisedConnection &&other) noexcept = default;
    SupervisedConnection &operator=(SupervisedConnection &&other) noexcept
    {
        const SupervisedConnection former{std::move(*this)};
        shared_ = std::move(other.shared_);
        return *this;
    }
    ~SupervisedConnection() { close(); }

    /// Begins to connect. The functions run from the main loop, at the earliest at its next turn.
    ///
    /// `configure` takes a Device & and returns void, or the Result of a call. It registers handlers, describes the device and
    /// starts the service. After a result that is no success, or a korvane::Error that leaves it, the connection is closed and
    /// tried again; after Errc::permission_denied it is closed. It may call any function of the Device but reopen() and
    /// on_rpc_io_error(), which the connection itself uses. The Device has the same address each time.
    template <class Configure>
    static Result<SupervisedConnection> open(Configure configure, StateHandler changed = {})
    {
        static_assert(std::is_invocable_v<Configure &, Device &>,
                      "the configure function must take a korvane::Device &");
        if (detail::is_empty(configure))
            return detail::refuse<korvane_util_connect>();
        SupervisedConnection connection;
        connection.shared_ = std::make_shared<Shared>([function = std::make_shared<Configure>(std::move(configure))](
                                                          Device &device) { return code_of(*function, device); },
                                                      std::move(changed));
        Shared &shared = *connection.shared_;
        const int code = korvane_util_connect(on_connection, on_state, &shared, &shared.handle);
        if (code != KORVANE_ERROR_NONE)
            return detail::outcome<korvane_util_connect>(code);
        return {std::move(connection), detail::name_of<korvane_util_connect>()};
    }

    /// The device while the state is SupervisedState::connected, otherwise nullptr. Do not keep it: ask again for each use.
    Device *device() const noexcept
    {
        return shared_ && korvane_util_get_handle(shared_->handle) ? &shared_->device : nullptr;
    }

    /// Tries to connect at the next turn of the main loop instead of after the delay; in SupervisedState::refused, begins again.
    /// Does nothing while connected or connecting.
    void connect_now() noexcept
    {
        if (shared_)
            korvane_util_connect_now(shared_->handle);
    }

    /// Ends the connection and the session; no handler runs afterwards. Does not stop the agent's service. May be called in any
    /// handler. Does nothing without a connection.
    void close()
    {
        if (const std::shared_ptr<Shared> shared = std::move(shared_))
            shared->close();
    }

private:
    using Sessions = std::vector<std::shared_ptr<detail::Session>>;

    /// Sessions of closed connections that the library has not ended, because no agent was installed. It ends them before it
    /// begins another one.
    static Sessions &unended()
    {
        static Sessions sessions;
        return sessions;
    }

    static void end(Sessions &sessions)
    {
        for (const auto &session : std::exchange(sessions, {}))
            session->end();
    }

    /// The user data of the C connection. Each function that may run the application's code holds a reference.
    struct Shared : std::enable_shared_from_this<Shared> {
        Shared(std::function<int(Device &)> configure_device, StateHandler state_handler)
            : configure(std::move(configure_device)), changed(std::move(state_handler))
        {
        }
        Shared(const Shared &) = delete;
        Shared &operator=(const Shared &) = delete;

        /// The handlers of the session are not called any more. Its nodes stay until the library has ended it.
        void lose_session()
        {
            device.session_ = nullptr;
            const auto lost = std::exchange(session, nullptr);
            if (!lost)
                return;
            former.push_back(lost);
            lost->lose();
        }

        void close()
        {
            const bool ended = korvane_util_disconnect(std::exchange(handle, nullptr)) == KORVANE_ERROR_NONE;
            lose_session();
            if (ended)
                end(former);
            else
                unended().insert(unended().end(), former.begin(), former.end());
        }

        std::function<int(Device &)> configure;
        StateHandler changed;
        korvane_util_connection_h handle = nullptr;
        std::shared_ptr<detail::Session> session{}; // also if the application has moved the device
        Device device{};
        Sessions former{}; // lost, and perhaps not ended yet
    };

    template <class Configure>
    static int code_of(Configure &configure, Device &device)
    {
        if constexpr (std::is_void_v<std::invoke_result_t<Configure &, Device &>>) {
            configure(device);
            return KORVANE_ERROR_NONE;
        } else {
            return Result<void>{configure(device)}.code();
        }
    }

    /// Runs the configure function. A korvane::Error that leaves it is its result.
    static int configure(Shared &shared)
    {
        int code = KORVANE_ERROR_OPERATION_FAILED;
        detail::guarded(detail::name_of<korvane_util_connect>(), [&] {
#ifdef __cpp_exceptions
            try {
                code = shared.configure(shared.device);
            } catch (const Error &error) {
                code = error.result();
            }
#else
            code = shared.configure(shared.device);
#endif
        });
        return code;
    }

    static int on_connection(korvane_h handle, void *user_data)
    {
        const auto shared = static_cast<Shared *>(user_data)->shared_from_this();
        // The library has one session at a time, so it has ended the earlier ones.
        shared->lose_session();
        end(shared->former);
        end(unended());
        if (!shared->handle)
            return KORVANE_ERROR_NONE; // a handler of an earlier session has closed the connection
        shared->device.session_ = shared->session = std::make_shared<detail::Session>(handle);
        const int code = configure(*shared);
        if (code != KORVANE_ERROR_NONE)
            shared->lose_session();
        return code;
    }

    static void on_state(korvane_util_state state, int result, korvane_h, void *user_data)
    {
        const auto shared = static_cast<Shared *>(user_data)->shared_from_this();
        if (state != KORVANE_UTIL_CONNECTED)
            shared->lose_session();
        if (!shared->handle || !shared->changed)
            return;
        detail::guarded(detail::name_of<korvane_util_connect>(), [&] {
            shared->changed(static_cast<SupervisedState>(state), std::error_code{result, error_category()});
        });
    }

    std::shared_ptr<Shared> shared_{};
};

} // namespace korvane

#endif
