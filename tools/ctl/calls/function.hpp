// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <korvane.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kv::ctl {

/// Something that a function has made or handed out, and that others take: a handle, or a list of them.
struct Object {
    std::string type;
    void *pointer = nullptr;
    int count = -1; // of a list's items
    bool released = false;
};

/// An argument as it was typed, or the earlier value that it stands for.
struct Argument {
    std::string text;
    bool none = false; // NULL
    std::shared_ptr<Object> object{};
};

/// What a function handed out: an object, or what can be shown.
struct OutValue {
    Json shown;
    std::shared_ptr<Object> object{};
};

/// One parameter of a function, as its declaration says.
struct Form {
    enum class Role {
        given,   // by whoever calls
        out,     // handed out
        implied, // the library's handle, counts of lists, user data
        callback,
    };

    Role role;
    std::string type; // for people; of a handle also its name
    bool object = false;
};

class Session;

/// A call while it is made.
struct Frame {
    Session &session;
    const char *function;
    const std::vector<Argument> &arguments;
    std::size_t next = 0; // of the arguments
    int count = 0;        // of the list that was taken last
    std::vector<OutValue> outs{};

    const Argument &take() { return arguments[next++]; }
};

struct Function {
    const char *name;
    std::vector<Form> forms;
    int (*call)(Frame &frame);
    /// Throws UsageError for a typed argument that does not fit its place among those given.
    void (*check)(std::size_t place, const Argument &argument);
    bool needs_library; // the handle of korvane_initialize

    std::vector<Form> with_role(Form::Role role) const;
    /// The line that lists it: NAME ARGUMENT... -> OUT...
    std::string shown() const;
};

/// All exported functions, in the order of korvane.h.
const std::vector<Function> &all_functions();
/// With or without "korvane_" in front. Throws UsageError for a name that there is not.
const Function &function_named(const std::string &name);
/// "KORVANE_ERROR_NONE" for 0; the number itself for one that has no name.
std::string result_name(int code);

/// The library's handle, if there is one, and what was made with it.
class Session {
public:
    using Heard = std::function<void(const std::string &function, int callback, const Json &values)>;

    explicit Session(Heard heard) : heard_(std::move(heard)) {}
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    /// Releases everything.
    ~Session();

    korvane_h handle = nullptr;

    /// Calls it, initialising first where it needs the library's handle. None when there is no agent to connect to.
    int call(const Function &function, const std::vector<Argument> &arguments, std::vector<OutValue> &outs);
    /// Hears what has arrived; waits for at least so many callbacks if a deadline is given.
    void listen(double seconds, int callbacks);
    int callbacks() const { return callbacks_; }

    void heard(const char *function, int callback, const Json &values);
    std::shared_ptr<Object> keep(Object object);

private:
    void await_connection();

    Heard heard_;
    bool quiet_ = false; // nothing is told of connecting on one's own account
    int callbacks_ = 0;
    std::optional<int> connection_; // the status that was heard, since initialising
    int connection_result_ = 0;
    std::deque<std::shared_ptr<Object>> objects_;
};

} // namespace kv::ctl
