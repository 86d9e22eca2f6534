// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_CALLS_HPP
#define KORVANE_DEVICE_CALLS_HPP

#include "../call.hpp"
#include "../session.hpp"
#include "../subscription.hpp"

#include <climits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace korvane::detail {

/// The common part of the functions of korvane::Device: the session, and the forms of calls. The functions are divided by
/// subject into classes that extend each other in a line, so that all use this session without a virtual base.
class Calls {
public:
    /// The handle, for functions of korvane.h; nullptr without a session. Do not deinitialise it.
    korvane_h native_handle() const noexcept { return session_ ? session_->handle : nullptr; }

protected:
    Calls() = default;
    Calls(Calls &&) noexcept = default;
    Calls &operator=(Calls &&) noexcept = default;
    ~Calls() = default;

    template <auto Function, class... Rest>
    Result<void> with_ints(const std::vector<int> &numbers, Rest... rest)
    {
        if (numbers.size() > INT_MAX)
            return detail::refuse<Function>();
        return detail::call<Function>(native_handle(), numbers.data(), static_cast<int>(numbers.size()), rest...);
    }

    template <class Signature, class Handler>
    struct takes;
    template <class... Values, class Handler>
    struct takes<void(Values...), Handler> : std::is_invocable<Handler &, Values...> {
    };

    template <auto Set, detail::Unset UnsetFunction, class Signature, class Handler>
    Result<Subscription> subscribe(Handler handler)
    {
        static_assert(takes<Signature, Handler>::value, "the handler must take the values of this event");
        if (detail::is_empty(handler))
            return detail::refuse<Set>();
        using Event = detail::EventNode<Handler>;
        return subscribe_node<Set, UnsetFunction>(new Event{std::move(handler)}, [](korvane_h handle, Event *node) {
            return Set(handle, Event::template callback<Set, 0>, node);
        });
    }

    template <auto Set, detail::Unset UnsetFunction, class First, class Second>
    Result<Subscription> subscribe_pair(First first, Second second)
    {
        static_assert(takes<void(std::string_view, int), First>::value,
                      "the first handler must take (string_view, int)");
        static_assert(takes<void(), Second>::value, "the second handler must take no arguments");
        if (detail::is_empty(first) || detail::is_empty(second))
            return detail::refuse<Set>();
        using Event = detail::EventNode<First, Second>;
        return subscribe_node<Set, UnsetFunction>(
            new Event{std::move(first), std::move(second)}, [](korvane_h handle, Event *node) {
                return Set(handle, Event::template callback<Set, 0>, Event::template callback<Set, 1>, node);
            });
    }

    template <auto Set, detail::Unset UnsetFunction, class Event, class Call>
    Result<Subscription> subscribe_node(Event *made, Call set)
    {
        const detail::Reference<detail::Node> node{made};
        const auto session = session_; // a callback inside the call may close this device
        if (!session)
            return detail::refuse<Set>();
        const auto [code, number] = session->slot(UnsetFunction).set([&] { return set(session->handle, made); }, node);
        if (code != KORVANE_ERROR_NONE)
            return detail::outcome<Set>(code);
        return {Subscription{session, UnsetFunction, number}, detail::name_of<Set>()};
    }

    template <auto Request, class Signature, class Completion, class... Args>
    Result<void> request(Completion completion, const Args &...args)
    {
        static_assert(takes<Signature, Completion>::value, "the completion must take the values of this reply");
        return detail::request<Request>(session_, std::move(completion), args...);
    }

    std::shared_ptr<Session> session_{};
};

} // namespace korvane::detail

#endif
