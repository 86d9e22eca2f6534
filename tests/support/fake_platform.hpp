// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fake_log.hpp"
#include "wire_bytes.hpp"

#include <app_event.h>
#include <rpc_port.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The data of an application event, as a test writes it: bundle_s{}.text("Install", "1").data("Fail", i32(-7)).
struct bundle_s {
public:
    bundle_s &text(const std::string &key, const std::string &value);
    bundle_s &array(const std::string &key, const std::vector<std::string> &values);
    bundle_s &data(const std::string &key, const kv::test::Bytes &value);

    char *find_text(const std::string &key);
    const char **find_array(const std::string &key, int *length);
    void *find_data(const std::string &key, std::size_t *size);

private:
    std::map<std::string, std::string> texts_;
    std::map<std::string, std::vector<std::string>> arrays_;
    std::map<std::string, std::vector<const char *>> handed_out_;
    std::map<std::string, kv::test::Bytes> data_;
};

namespace kv::test {

/// What every handle of the fake begins with. Handles live on as dead ones until the test is over, so that no address
/// is given out twice and every use of a dead one is noticed.
struct Handle {
    const char *kind;
    bool alive = true;

    explicit Handle(const char *handle_kind) : kind(handle_kind) {}
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    virtual ~Handle() = default;
};

struct Parcel : Handle {
    Parcel() : Handle("parcel") {}
    Bytes content;
    std::size_t at = 0;
};

struct Proxy;

/// A point inside a platform call where the platform may raise events.
enum class Moment {
    send,    // rpc_port_parcel_send, before the request reaches the agent
    wait,    // rpc_port_parcel_create_from_port of the main port, before it takes a parcel
    destroy, // rpc_port_proxy_destroy, when the proxy and its ports are dead already
};

/// One end of a link. The test queues what arrives; a read of an empty port fails at once, as on a closed link, so that
/// no test can hang.
struct Port : Handle {
    Port() : Handle("port") {}

    Proxy *proxy = nullptr;
    bool broken = false; // since `disconnected`; sends and reads fail
    std::vector<Bytes> sent;
    std::deque<Bytes> incoming;
    std::deque<int> send_results; // for the next sends; 0 once it is empty. A failed send is not in sent
    std::function<void(Port &, const Bytes &)> on_sent; // an agent that answers, for instance

    void push(Bytes parcel) { incoming.push_back(std::move(parcel)); }
};

struct Proxy : Handle, std::enable_shared_from_this<Proxy> {
    template <class Callback>
    struct Watcher {
        Callback callback;
        void *data;
    };

    Proxy() : Handle("proxy") { main_port.proxy = callback_port.proxy = this; }

    std::string appid; // of the last connect
    std::string port_name;
    int connects = 0;
    Port main_port;
    Port callback_port;
    std::vector<Watcher<rpc_port_proxy_connected_event_cb>> connected;
    std::vector<Watcher<rpc_port_proxy_disconnected_event_cb>> disconnected;
    std::vector<Watcher<rpc_port_proxy_rejected_event_cb>> rejected;
    std::vector<Watcher<rpc_port_proxy_received_event_cb>> received;

    // The platform's events, as the main loop would raise them. The callbacks may destroy the proxy.
    void fire_connected();
    /// The link is dead from here on.
    void fire_disconnected();
    void fire_rejected(int last_result);
    void fire_received();
    /// One parcel arrives on the callback port.
    void push_event(Bytes parcel);

    using Raise = std::function<void(Proxy &)>;
    /// Schedules an event for the n-th time that this proxy reaches the moment; 1 is the next time. Events of the same
    /// moment are raised in the order in which they were scheduled, until a callback destroys the proxy.
    void raise_inside(Moment moment, Raise raise, unsigned nth = 1);
    /// Events that were scheduled and not raised yet.
    unsigned unraised() const { return static_cast<unsigned>(scheduled_.size()); }

    // For the platform functions only.

    /// Raises what is scheduled for this point.
    void reach(Moment moment);
    void destroy();

private:
    struct Scheduled {
        Moment moment;
        unsigned at; // value of reached_ at which it is due
        Raise raise;
    };

    void fire(auto watchers, auto... port);

    std::deque<Scheduled> scheduled_;
    std::map<Moment, unsigned> reached_;
    bool being_destroyed_ = false;
};

/// `received`, for a parcel that has arrived on the callback port.
Proxy::Raise received(Bytes parcel);
/// `disconnected`.
Proxy::Raise disconnected();

struct EventHandler : Handle {
    EventHandler() : Handle("event handler") {}
    std::string event_name;
    event_cb callback = nullptr;
    void *user_data = nullptr;

    /// Calls the handler as the platform would, with a name of the test's choice.
    void fire(const char *name, bundle_s data = {});
};

struct PackageInfo : Handle {
    PackageInfo() : Handle("package info") {}
};

/// Makes the n-th platform call that can fail do so, with a code that is natural for it.
class FaultPlan {
public:
    void fail(unsigned nth)
    {
        *this = {};
        armed_ = true;
        nth_ = nth;
    }
    void disarm() { armed_ = false; }
    bool injected() const { return !function_.empty(); }
    /// The call that was made to fail: "rpc_port_parcel_read_int32 2" is the second of that name.
    const std::string &function() const { return function_; }

    /// The code to fail with; 0 to go on.
    int next(const char *function, int natural_code);

private:
    bool armed_ = false;
    unsigned nth_ = 0;
    unsigned calls_ = 0;
    std::map<std::string, unsigned> calls_by_name_;
    std::string function_;
};

/// The whole platform, for one test at a time.
class FakePlatform {
public:
    static FakePlatform &instance();

    /// As at the start of the process; what is still alive is forgotten.
    void reset();

    /// The installed agent's version; none: the package manager hands out no string.
    std::optional<std::string> agent_version = "2.3.1";
    /// Hands out array counts that the rest of the parcel cannot hold, as the real one does not.
    bool trusts_array_counts = false;
    /// A send or a read whose proxy is destroyed by an event that it raised succeeds all the same.
    bool finishes_after_destroy = false;
    /// Called with each proxy that the library creates: to schedule events, or to put an agent behind it.
    std::function<void(Proxy &)> on_new_proxy;
    /// Codes of functions that shall fail, by name.
    std::map<std::string, int> results;
    FaultPlan faults;
    Log log;

    /// Names of the platform functions called so far, in order; all but dlog_print.
    std::vector<std::string> calls;
    unsigned calls_to(std::string_view function) const;

    /// All proxies ever made, dead ones included.
    const std::vector<std::shared_ptr<Proxy>> &proxies() const { return proxies_; }
    /// The newest one. It must exist.
    Proxy &proxy();
    Port &main_port() { return proxy().main_port; }
    /// The event handlers that are registered now.
    std::vector<EventHandler *> event_handlers();

    /// A parcel of the test's own, as if it had arrived; destroyed with rpc_port_parcel_destroy.
    rpc_port_parcel_h parcel_of(Bytes content);
    const Bytes &content_of(rpc_port_parcel_h parcel);

    /// Kinds of the handles that are alive, but for ports, which go with their proxy.
    std::vector<std::string> alive() const;
    /// Handles used after their end, ended twice, or never given out; also events that a test scheduled and that were
    /// never raised. Taking them clears the list.
    std::vector<std::string> take_misuses();
    void misuse(std::string what) { misuses_.push_back(std::move(what)); }

    // For the platform functions only.

    /// Notes the call; the code that it shall fail with, or 0.
    int enter(const char *function, int natural_code);
    template <class T>
    T *open(void *handle, const char *function);
    std::shared_ptr<Proxy> make_proxy();
    template <class T>
    T *make();

private:
    Handle *find(void *handle);

    std::vector<std::shared_ptr<Proxy>> proxies_;
    std::vector<std::unique_ptr<Handle>> handles_;
    std::map<void *, Handle *> by_address_;
    std::vector<std::string> misuses_;
};

/// The handle as what it is; NULL, with the misuse noted, when it is dead or none of ours. A NULL handle is an ordinary
/// bad argument.
template <class T>
T *FakePlatform::open(void *handle, const char *function)
{
    if (!handle)
        return nullptr;
    auto *found = dynamic_cast<T *>(find(handle));
    if (!found)
        misuse(std::string(function) + " of a handle that is none");
    else if (!found->alive)
        misuse(std::string(function) + " of a dead " + found->kind);
    else
        return found;
    return nullptr;
}

template <class T>
T *FakePlatform::make()
{
    auto &handle = handles_.emplace_back(std::make_unique<T>());
    by_address_[handle.get()] = handle.get();
    return static_cast<T *>(handle.get());
}

} // namespace kv::test
