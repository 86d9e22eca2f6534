// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <memory>
#include <string>
#include <vector>

namespace kv::ctl {

class Session;

/// A handle, or a list of handles, that a function returned and that other functions take.
struct Object {
    std::string type;
    void *pointer = nullptr;
    int count = -1; // of a list's items
    bool released = false;
};

/// An argument of a call: text from the command line, or an object that an earlier call returned.
struct Argument {
    std::string text;
    bool null = false; // NULL
    std::shared_ptr<Object> object{};
};

/// A value that a function returned through an out argument.
struct OutValue {
    Json json;
    std::shared_ptr<Object> object{};
};

/// One parameter of a function.
struct Parameter {
    enum class Role {
        given,   // an argument on the command line
        out,     // an out argument
        implied, // supplied by this program: the library's handle, counts of lists, user data
        callback,
    };

    Role role;
    std::string type; // as it is printed; the short name of a handle's struct
    bool object = false;
};

/// A call while it is made: adapters take their arguments from it and add their out values.
struct Frame {
    Session &session;
    const char *function;
    const std::vector<Argument> &arguments;
    std::size_t next = 0; // argument
    int count = 0;        // of the latest list among the arguments
    std::vector<OutValue> outs{};

    const Argument &take() { return arguments[next++]; }
};

/// An exported function of the library.
struct Function {
    const char *name;
    std::vector<Parameter> parameters;
    int (*call)(Frame &frame);
    /// Throws UsageError if the text does not fit the given parameter at this index.
    void (*check)(std::size_t index, const Argument &argument);
    bool needs_library; // takes the handle of korvane_initialize

    std::vector<Parameter> with_role(Parameter::Role role) const;
    /// "NAME ARGUMENT... -> OUT..."
    std::string usage() const;
    /// Whether it releases objects: a _destroy or _release function.
    bool releases() const;
    /// Whether it releases objects of this type.
    bool releases(const std::string &type) const;
    /// Whether it takes an object of this type and returns nothing but plain values.
    bool reads(const std::string &type) const;
};

/// All exported functions, in the order of korvane.h.
const std::vector<Function> &all_functions();
/// Finds a function by its name, with or without "korvane_". Throws UsageError for an unknown name.
const Function &function_named(const std::string &name);
/// All names without "korvane_".
std::vector<std::string> short_function_names();

/// "KORVANE_ERROR_NONE" for 0; the number itself if the result code has no name.
std::string result_name(int code);
/// "1.4" for 1004, and "any" for 0, the lowest version of functions that every agent knows.
std::string version_name(int version);

} // namespace kv::ctl
