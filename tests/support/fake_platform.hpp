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

/// The data of an application event. A test writes bundle_s{}.text("Install", "1").data("Fail", i32(-7)).
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

/// The base of every handle of the fake. Released handles are kept until the end of the test, so that no address is
/// used twice and every use of a released handle is detected.
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
    read,    // the same of the callback port
    destroy, // rpc_port_proxy_destroy, after the release of the proxy and its ports
};

/// One end of a link. The test queues what arrives; a read of an empty port fails at once, as on a closed link, so that
/// no test can hang.
struct Port : Handle {
    Port() : Handle("port") {}

    Proxy *proxy = nullptr;
    bool broken = false; // after `disconnected`: sends and reads fail
    std::vector<Bytes> sent;
    std::deque<Bytes> incoming;
    std::deque<int> send_results; // results of the next sends; 0 once it is empty. A failed send is not added to `sent`
    std::function<void(Port &, const Bytes &)> on_sent; // called after each send, for example by an agent that replies

    void push(Bytes parcel) { incoming.push_back(std::move(parcel)); }
};

struct Proxy : Handle, std::enable_shared_from_this<Proxy> {
    template <class Callback>
    struct Watcher {
        Callback callback;
        void *data;
    };

    Proxy() : Handle("proxy") { main_port.proxy = callback_port.proxy = this; }

    std::string appid; // the argument of the last connect
    std::string port_name;
    int connects = 0;
    Port main_port;
    Port callback_port;
    std::vector<Watcher<rpc_port_proxy_connected_event_cb>> connected;
    std::vector<Watcher<rpc_port_proxy_disconnected_event_cb>> disconnected;
    std::vector<Watcher<rpc_port_proxy_rejected_event_cb>> rejected;
    std::vector<Watcher<rpc_port_proxy_received_event_cb>> received;

    // Raise an event as the main loop does. The callbacks may destroy the proxy.
    void fire_connected();
    /// Raises `disconnected`. The link is broken from then on.
    void fire_disconnected();
    void fire_rejected(int last_result);
    void fire_received();
    /// Queues a parcel at the callback port and raises `received`.
    void push_event(Bytes parcel);

    using Raise = std::function<void(Proxy &)>;
    /// Schedules an event for the n-th time that this proxy reaches the moment; 1 is the next time. Events of the same
    /// moment are raised in the order in which they were scheduled, until a callback destroys the proxy.
    void raise_inside(Moment moment, Raise raise, unsigned nth = 1);
    /// The number of scheduled events that were not raised yet.
    unsigned unraised() const { return static_cast<unsigned>(scheduled_.size()); }

    // Used only by the platform functions.

    /// Raises the events that are scheduled for this moment.
    void reach(Moment moment);
    void destroy();

private:
    struct Scheduled {
        Moment moment;
        unsigned at; // value of reached_ at which the event is due
        Raise raise;
    };

    void fire(auto watchers, auto... port);

    std::deque<Scheduled> scheduled_;
    std::map<Moment, unsigned> reached_;
    bool being_destroyed_ = false;
};

/// An action that raises `received` for a parcel at the callback port.
Proxy::Raise received(Bytes parcel);
/// An action that raises `disconnected`.
Proxy::Raise disconnected();

struct EventHandler : Handle {
    EventHandler() : Handle("event handler") {}
    std::string event_name;
    event_cb callback = nullptr;
    void *user_data = nullptr;

    /// Calls the handler as the platform does, with an event name of the test's choice.
    void fire(const char *name, bundle_s data = {});
};

struct PackageInfo : Handle {
    PackageInfo() : Handle("package info") {}
};

/// Makes the n-th platform call fail, with an error code that is typical for it.
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
    /// The call that failed: "rpc_port_parcel_read_int32 2" is the second call of that function.
    const std::string &function() const { return function_; }

    /// Returns the code with which the call must fail; 0 if it must not.
    int next(const char *function, int natural_code);

private:
    bool armed_ = false;
    unsigned nth_ = 0;
    unsigned calls_ = 0;
    std::map<std::string, unsigned> calls_by_name_;
    std::string function_;
};

/// The fake of the whole platform, for one test at a time.
class FakePlatform {
public:
    static FakePlatform &instance();

    /// Returns to the state at the start of the process. Handles that still exist are dropped.
    void reset();

    /// The version of the installed agent; null if the package manager returns none.
    std::optional<std::string> agent_version = "2.3.1";
    /// Returns array counts that exceed the rest of the parcel, which the real platform refuses.
    bool trusts_array_counts = false;
    /// Whether a send or a read succeeds although an event inside it destroyed its proxy.
    bool finishes_after_destroy = false;
    /// Whether functions that succeed return an empty text, or empty data, as null.
    bool returns_null_for_empty = false;
    /// Called with each proxy that the library creates, to schedule events or to attach an agent.
    std::function<void(Proxy &)> on_new_proxy;
    /// Error codes of functions that must fail, by name.
    std::map<std::string, int> results;
    FaultPlan faults;
    Log log;

    /// The names of the platform functions called so far, in order, except dlog_print.
    std::vector<std::string> calls;
    unsigned calls_to(std::string_view function) const;

    /// All proxies of the test, released ones included.
    const std::vector<std::shared_ptr<Proxy>> &proxies() const { return proxies_; }
    /// The newest proxy. It must exist.
    Proxy &proxy();
    Port &main_port() { return proxy().main_port; }
    /// The registered event handlers.
    std::vector<EventHandler *> event_handlers();

    /// Creates a received parcel. The test destroys it with rpc_port_parcel_destroy.
    rpc_port_parcel_h parcel_of(Bytes content);
    const Bytes &content_of(rpc_port_parcel_h parcel);

    /// The kinds of the handles that exist, except ports, which belong to their proxy.
    std::vector<std::string> alive() const;
    /// Returns and clears the detected misuses: handles used after their release, released twice or never created, and
    /// events that a test scheduled and that were never raised.
    std::vector<std::string> take_misuses();
    void misuse(std::string what) { misuses_.push_back(std::move(what)); }

    // Used only by the platform functions.

    /// Records a call. Returns the code with which it must fail, or 0.
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

/// Casts a handle to its type. Returns NULL and records a misuse if it is released or was never created. A NULL handle
/// is an ordinary invalid argument.
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
