// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_SESSION_HPP
#define KORVANE_SESSION_HPP

#include "call.hpp"
#include "exceptions.hpp"
#include "received.hpp"

#include <algorithm>
#include <map>
#include <tuple>

/// The user data of registrations and one-shot requests, and how long they live. Applications need nothing of this file.
///
/// Handlers of the application are kept in nodes; a node is the user data that the library receives. The rule of this
/// file: a node exists at least as long as the library may call its callback (korvane.h lists when user data may be
/// freed), and as long as its handler runs.
namespace korvane::detail {

/// Base of all nodes. A node is counted: by the session while the library may use it, and by each callback that is running.
class Node {
public:
    Node() = default;
    Node(const Node &) = delete;
    Node &operator=(const Node &) = delete;

    void retain() noexcept { ++uses_; }
    void release() noexcept
    {
        if (--uses_ == 0)
            delete this;
    }

    /// From now on the handler is not called, although the library may still run the callback.
    void mute() noexcept { muted_ = true; }
    bool muted() const noexcept { return muted_; }

    /// The session ended before the library ran the callback of a one-shot request.
    virtual void cancel() noexcept {}

protected:
    virtual ~Node() = default;

private:
    unsigned uses_ = 0;
    bool muted_ = false;
};

/// A counted reference to a node.
template <class T>
class Reference {
public:
    Reference() = default;
    explicit Reference(T *node) noexcept : node_(node)
    {
        if (node_)
            node_->retain();
    }
    Reference(const Reference &other) noexcept : Reference(other.node_) {}
    Reference(Reference &&other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
    Reference &operator=(Reference other) noexcept
    {
        std::swap(node_, other.node_);
        return *this;
    }
    ~Reference()
    {
        if (node_)
            node_->release();
    }

    T *get() const noexcept { return node_; }
    T *operator->() const noexcept { return node_; }
    explicit operator bool() const noexcept { return node_ != nullptr; }

private:
    T *node_ = nullptr;
};

/// Whether the code means that the call has sent nothing and changed nothing.
constexpr bool is_refusal(int code) noexcept
{
    return code == KORVANE_ERROR_NOT_SUPPORTED || code == KORVANE_ERROR_AGENT_VERSION_LOWER ||
           code == KORVANE_ERROR_INVALID_PARAMETER || code == KORVANE_ERROR_SERVICE_UNAVAILABLE;
}

using Unset = int (*)(korvane_h);

/// The registrations of one event, numbered in the order of the calls of the set function.
class Slot {
public:
    /// Calls the C set function for a node. Returns its code and the number of the registration.
    template <class Set>
    std::pair<int, unsigned long> set(Set call_set, const Reference<Node> &node)
    {
        const bool nested = in_progress_ > 0;
        if (nested)
            for (Registration &other : registrations_)
                other.nested = other.nested || other.in_progress;
        const unsigned long number = ++last_number_;
        registrations_.push_back({node, number, true, nested});
        ++in_progress_;
        const int code = call_set();
        --in_progress_;
        const auto found = find(number);
        if (found == registrations_.end())
            return {code, number}; // the session ended inside the call
        found->in_progress = false;
        if (code != KORVANE_ERROR_NONE) {
            drop([number](const Registration &other) { return other.number == number; });
            return {code, number};
        }
        if (!node->muted()) // otherwise the connection was lost inside the call
            current_ = number;
        // A successful call replaces the earlier registration. After two set functions, one inside the other, either may
        // be the one that the agent keeps, so both stay until the event is unset.
        if (in_progress_ == 0)
            drop([number](const Registration &other) { return other.number != number && !other.nested; });
        return {code, number};
    }

    /// Calls the C unset function.
    int unset(Unset function, korvane_h handle)
    {
        const unsigned long newest = last_number_;
        const int code = function(handle);
        if (is_refusal(code))
            return code;
        current_ = 0;
        // A set function that ran inside this call was ended by it, but its user data may be freed by a later call only.
        for (Registration &other : registrations_)
            if (!other.in_progress)
                other.node->mute();
        // A set function around this call still registers its callback.
        drop([newest](const Registration &other) { return !other.in_progress && other.number <= newest; });
        return code;
    }

    /// Whether the handler of this registration receives the events.
    bool is_current(unsigned long number) const noexcept { return number != 0 && current_ == number; }

    /// The handler of this registration is not called any more.
    void mute(unsigned long number) noexcept
    {
        if (const auto found = find(number); found != registrations_.end())
            found->node->mute();
    }

    void mute_all() noexcept
    {
        for (Registration &registration : registrations_)
            registration.node->mute();
    }

    /// No handler is called any more, and no registration receives events. The library may still use the nodes.
    void lose() noexcept
    {
        current_ = 0;
        mute_all();
    }

    /// The session has ended: the library uses nothing any more.
    void end()
    {
        current_ = 0;
        drop([](const Registration &) { return true; });
    }

private:
    struct Registration {
        Reference<Node> node;
        unsigned long number;
        bool in_progress; // the set function has not returned
        bool nested;      // another set function of this event ran around it or inside it
    };

    std::vector<Registration>::iterator find(unsigned long number)
    {
        return std::find_if(registrations_.begin(), registrations_.end(),
                            [number](const Registration &registration) { return registration.number == number; });
    }

    /// Removes registrations before it releases them, because the destructor of a handler may call this slot again.
    template <class Which>
    void drop(Which which)
    {
        const auto first =
            std::stable_partition(registrations_.begin(), registrations_.end(),
                                  [&](const Registration &registration) { return !which(registration); });
        const std::vector<Registration> dropped{std::make_move_iterator(first),
                                                std::make_move_iterator(registrations_.end())};
        registrations_.erase(first, registrations_.end());
    }

    std::vector<Registration> registrations_{};
    unsigned long current_ = 0; // 0: none
    unsigned long last_number_ = 0;
    unsigned in_progress_ = 0;
};

/// The library looks for an installed agent in korvane_initialize() only, which does nothing else while a session exists.
inline void look_for_agent_again()
{
    korvane_h other = nullptr;
    if (korvane_initialize(&other, nullptr, nullptr) == KORVANE_ERROR_NONE)
        korvane_deinitialize(other);
}

/// One session with the agent, from korvane_initialize() to korvane_deinitialize().
class Session {
public:
    explicit Session(Reference<Node> connection) : connection_(std::move(connection)) {}
    /// A session that a supervised connection begins and ends.
    explicit Session(korvane_h supervised) : handle(supervised), is_supervised_(true) {}
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    korvane_h handle = nullptr;
    bool is_supervised() const noexcept { return is_supervised_; }

    /// The registrations of the event that this function unsets.
    Slot &slot(Unset unset) { return slots_[unset]; }

    void add_request(const Reference<Node> &node) { requests_.push_back(node); }
    /// Returns whether the request was pending.
    bool remove_request(const Node *node)
    {
        const auto found = std::find_if(requests_.begin(), requests_.end(),
                                        [node](const Reference<Node> &request) { return request.get() == node; });
        if (found == requests_.end())
            return false;
        const Reference<Node> removed = std::move(*found);
        requests_.erase(found);
        return true;
    }

    /// Ends the session. If the library refuses, everything stays as it is.
    int close()
    {
        if (!handle)
            return KORVANE_ERROR_NONE;
        int code = korvane_deinitialize(handle);
        if (code == KORVANE_ERROR_NOT_SUPPORTED) {
            look_for_agent_again();
            code = korvane_deinitialize(handle);
        }
        // An invalid handle was deinitialised past this class.
        if (code != KORVANE_ERROR_NONE && code != KORVANE_ERROR_INVALID_PARAMETER)
            return code;
        end();
        return KORVANE_ERROR_NONE;
    }

    /// The library has ended the session: it uses nothing any more.
    void end()
    {
        handle = nullptr;
        for (auto &[unset, slot] : slots_)
            slot.end();
        const std::vector<Reference<Node>> cancelled = std::exchange(requests_, {});
        for (const Reference<Node> &request : cancelled)
            request->cancel();
    }

    /// The connection is lost, and the library ends the session later: no call is made and no handler is called any more.
    void lose()
    {
        handle = nullptr;
        for (auto &[unset, slot] : slots_)
            slot.lose();
        const std::vector<Reference<Node>> cancelled = requests_;
        for (const Reference<Node> &request : cancelled) {
            request->mute();
            request->cancel();
        }
    }

    /// No handler is called any more.
    void mute() noexcept
    {
        if (connection_)
            connection_->mute();
        for (auto &[unset, slot] : slots_)
            slot.mute_all();
        for (const Reference<Node> &request : requests_)
            request->mute();
    }

    const Reference<Node> &connection() const noexcept { return connection_; }

private:
    Reference<Node> connection_{};
    bool is_supervised_ = false;
    std::map<Unset, Slot> slots_{};
    std::vector<Reference<Node>> requests_{};
};

/// The session that the library refused to end when its Device was destroyed, for instance because the agent is not installed
/// at that moment. Its handlers are muted. The next attempt to open a session ends it.
inline std::shared_ptr<Session> &unended_session()
{
    static std::shared_ptr<Session> session;
    return session;
}

/// Converts a value of a callback for the handler.
inline std::string_view from_c(const char *text) noexcept
{
    return text ? std::string_view{text} : std::string_view{};
}
inline ChosenAccessPoint from_c(korvane_ap_info_h info) noexcept
{
    return ChosenAccessPoint{info};
}
inline DeviceProvisioning from_c(korvane_device_prov_info_h info) noexcept
{
    return DeviceProvisioning{info};
}
inline HdrTokenInfo from_c(korvane_hdr_token_info_h info) noexcept
{
    return HdrTokenInfo{info};
}
template <class T>
T from_c(T value) noexcept
{
    return value;
}

template <class Handler, class Tuple, std::size_t... At>
void invoke_with(Handler &handler, const Tuple &values, std::index_sequence<At...>)
{
    handler(from_c(std::get<At>(values))...);
}

/// Calls the handler with the values between the handle and the user data of a C callback. Nothing that the handler may have
/// destroyed is used afterwards.
template <class Handler, class... Values>
void run_handler(std::string_view callback, Node &node, Handler &handler, const std::tuple<Values...> &values)
{
    if (node.muted())
        return;
    const Reference<Node> running{&node};
    guarded(callback, [&] { invoke_with(handler, values, std::make_index_sequence<sizeof...(Values) - 1>{}); });
}

/// Whether a std::function or a function pointer is empty.
template <class Handler>
auto is_empty_or(const Handler &handler, int) -> decltype(static_cast<bool>(handler == nullptr))
{
    return handler == nullptr;
}
template <class Handler>
bool is_empty_or(const Handler &, long)
{
    return false;
}
template <class Handler>
bool is_empty(const Handler &handler)
{
    return is_empty_or(handler, 0);
}

/// The node of a registration with one handler or two.
template <class... Handlers>
class EventNode final : public Node {
public:
    explicit EventNode(Handlers... handlers) : handlers_(std::move(handlers)...) {}

    /// The C callback of the handler `Which`.
    template <auto Set, std::size_t Which = 0, class... Values>
    static void callback(korvane_h, Values... values)
    {
        const std::tuple all{values...};
        auto &node = *static_cast<EventNode *>(std::get<sizeof...(Values) - 1>(all));
        run_handler(name_of<Set>(), node, std::get<Which>(node.handlers_), all);
    }

private:
    std::tuple<Handlers...> handlers_;
};

/// Whether a handler has a member function cancel(), which runs if the session ends before the request is completed.
template <class Handler, class = void>
struct has_cancel : std::false_type {
};
template <class Handler>
struct has_cancel<Handler, std::void_t<decltype(std::declval<Handler &>().cancel())>> : std::true_type {
};

/// The node of a one-shot request.
template <class Handler>
class RequestNode final : public Node {
public:
    RequestNode(Session &session, Handler handler) : session_(session), handler_(std::move(handler)) {}

    template <auto Request, class... Values>
    static void callback(korvane_h, Values... values)
    {
        const std::tuple all{values...};
        auto &node = *static_cast<RequestNode *>(std::get<sizeof...(Values) - 1>(all));
        const Reference<Node> running{&node};
        node.session_.remove_request(&node);
        run_handler(name_of<Request>(), node, node.handler_, all);
    }

    void cancel() noexcept override
    {
        if constexpr (has_cancel<Handler>::value)
            handler_.cancel();
    }

private:
    Session &session_; // outlives the request, which close() removes
    Handler handler_;
};

/// Makes a one-shot request.
template <auto Request, class Handler, class... Args>
Result<void> request(const std::shared_ptr<Session> &opened, Handler handler, const Args &...args)
{
    if (!opened || is_empty(handler))
        return refuse<Request>();
    const std::shared_ptr<Session> session = opened;
    auto *const node = new RequestNode<Handler>(*session, std::move(handler));
    const Reference<Node> kept{node};
    session->add_request(kept);
    const int code = [&](const auto &...converted) {
        return (valid(converted) && ...)
                   ? Request(session->handle, converted..., RequestNode<Handler>::template callback<Request>, node)
                   : invalid;
    }(to_c(args)...);
    if (code != KORVANE_ERROR_NONE)
        session->remove_request(node);
    return outcome<Request>(code);
}

} // namespace korvane::detail

#endif
