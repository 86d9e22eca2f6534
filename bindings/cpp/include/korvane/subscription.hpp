// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_SUBSCRIPTION_HPP
#define KORVANE_SUBSCRIPTION_HPP

#include "session.hpp"

namespace korvane {

namespace detail {
class Calls; // makes subscriptions
}

/// The registration of a handler for one event. Its destruction ends the registration: the handler does not run any more.
///
/// Each event has at most one registration. A later registration for the same event replaces this one, and the end of the
/// session ends it; this object then does nothing. It may outlive the Device.
///
/// The destructor calls the unset function of the event. While the agent is being updated the library refuses that; the
/// handler is muted then, and released at the next registration for the event or with the session. unset() reports the
/// refusal instead.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    Subscription(Subscription &&other) noexcept = default;
    Subscription &operator=(Subscription &&other) noexcept
    {
        Subscription former{std::move(*this)};
        session_ = std::move(other.session_);
        unset_ = other.unset_;
        number_ = other.number_;
        return *this;
    }
    ~Subscription()
    {
        if (const auto session = session_.lock()) {
            (void)unset();
            session->slot(unset_).mute(number_);
        }
    }

    /// Whether the handler receives events: it is registered, was not replaced, and the session has not ended.
    bool active() const
    {
        const auto session = session_.lock();
        return session && session->slot(unset_).is_current(number_);
    }

    /// Ends the registration. If the library refuses (Errc::service_unavailable during an update), the registration stays
    /// and so does this object; try again later. Any other code, failures included, has ended it. Does nothing if the
    /// registration is not active().
    Result<void> unset()
    {
        const auto session = session_.lock();
        const int code = session && session->slot(unset_).is_current(number_)
                             ? session->slot(unset_).unset(unset_, session->handle)
                             : KORVANE_ERROR_NONE;
        return {code, "korvane::Subscription::unset"};
    }

    /// Leaves the handler registered until the session ends or another handler replaces it.
    void keep() noexcept { session_.reset(); }

private:
    friend class detail::Calls;
    Subscription(const std::shared_ptr<detail::Session> &session, detail::Unset function, unsigned long number)
        : session_(session), unset_(function), number_(number)
    {
    }

    std::weak_ptr<detail::Session> session_{};
    detail::Unset unset_ = nullptr;
    unsigned long number_ = 0;
};

} // namespace korvane

#endif
