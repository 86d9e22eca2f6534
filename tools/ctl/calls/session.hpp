// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "function.hpp"

#include <korvane.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kv::ctl {

/// The library's handle and the objects made with it. The destructor releases all of them.
class Session {
public:
    using OnCallback = std::function<void(const std::string &function, int parameter, const Json &values)>;

    explicit Session(OnCallback on_callback) : on_callback_(std::move(on_callback)) {}
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session();

    korvane_h handle = nullptr;

    /// Calls a function and returns its result code. Initialises the library first if the function needs its handle.
    /// Throws Failure if no agent can be connected.
    int call(const Function &function, const std::vector<Argument> &arguments, std::vector<OutValue> &outs);
    /// Runs the callbacks that are due, and waits up to `seconds` until there have been that many (0: all that time).
    void listen(double seconds, int callbacks);
    /// The number of callbacks that have run, without that of korvane_initialize.
    int callbacks() const { return callbacks_; }

    /// A trampoline reports its callback: the function it was registered with, the parameter's index, and its values.
    void report_callback(const char *function, int parameter, const Json &values);
    /// Remembers an object, to release it at the end.
    std::shared_ptr<Object> keep(Object object);

private:
    void initialize(std::vector<OutValue> &outs);
    /// Updates the session after a successful call.
    void follow_up(const Function &function, const std::vector<Argument> &arguments);
    void await_connection();

    OnCallback on_callback_;
    bool connecting_ = false; // for another function, so that success is not reported
    int callbacks_ = 0;
    std::optional<int> connection_; // the status that the library reported since initialising
    int connection_result_ = 0;
    std::deque<std::shared_ptr<Object>> objects_;
};

/// The values of an object, read with each function that reads objects of its type.
Json object_to_json(const std::string &type, void *pointer);

} // namespace kv::ctl
