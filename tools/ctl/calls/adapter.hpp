// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "session.hpp"
#include "tools/ctl/output/failure.hpp"

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <type_traits>

/// The meaning of each parameter type of korvane.h on the command line. A function with another type does not compile.
namespace kv::ctl {

/// The short name of a handle's struct: "aplist" for korvane_aplist_s.
template <class T>
std::string handle_type()
{
    std::string_view name{__PRETTY_FUNCTION__};
    name.remove_prefix(name.find("T = ") + 4);
    name = name.substr(0, name.find_first_of(";]"));
    constexpr std::string_view prefix = "korvane_";
    name.remove_prefix(name.find(prefix) + prefix.size());
    return std::string{name.substr(0, name.rfind("_s"))};
}

/// True for handles that functions return as lists with a count: a pointer to one is such a list, not an out argument.
template <class T>
inline constexpr bool is_listed = false;
template <>
inline constexpr bool is_listed<korvane_sub_dev_prs_s> = true;

template <class Number>
Number number_from(const std::string &text, const char *wanted)
{
    Number number{};
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stopped != end || text.empty())
        throw UsageError{"'" + text + "' must be " + wanted};
    return number;
}

/// Parses an array argument: a JSON array, or values separated by commas. Throws UsageError.
Json items_from(const std::string &text);

/// The adapter of one parameter: it takes its argument from the frame, holds the parameter during the call, and adds the
/// out value to the frame afterwards. `Before` is the type of the previous parameter.
template <class T, class Before>
struct Adapter;

template <Parameter::Role Where>
struct AdapterBase {
    static constexpr Parameter::Role role = Where;
    static constexpr bool object = false;
    static void check(const Argument &) {}
    void done(Frame &) {}
};
using Given = AdapterBase<Parameter::Role::given>;
using Out = AdapterBase<Parameter::Role::out>;
using Implied = AdapterBase<Parameter::Role::implied>;

template <class Before>
struct Adapter<korvane_h, Before> : Implied {
    static std::string type() { return "handle"; }
    explicit Adapter(Frame &frame) : handle(frame.session.handle) {}
    korvane_h arg() const { return handle; }
    korvane_h handle;
};

template <class Before>
struct Adapter<korvane_h *, Before> : Implied {
    static std::string type() { return "handle"; }
    explicit Adapter(Frame &frame) : session(frame.session) {}
    korvane_h *arg() const { return &session.handle; }
    Session &session;
};

template <class Before>
struct Adapter<void *, Before> : Implied {
    static std::string type() { return "user data"; }
    explicit Adapter(Frame &frame) : session(frame.session) {}
    void *arg() const { return &session; }
    Session &session;
};

template <class Before>
inline constexpr bool is_list = std::is_same_v<Before, const int *> || std::is_same_v<Before, const char *const *>;
template <class T>
inline constexpr bool is_list<T **> = is_listed<T>;

template <class Number, class Before>
struct NumberAdapter : Given {
    static std::string type() { return std::is_signed_v<Number> ? "int" : "unsigned"; }
    static Number parse(const Argument &argument)
    {
        return number_from<Number>(argument.text, std::is_signed_v<Number> ? "a whole number of 32 bits"
                                                                           : "a whole number from 0 to 4294967295");
    }
    static void check(const Argument &argument) { parse(argument); }
    explicit NumberAdapter(Frame &frame) : number(parse(frame.take())) {}
    Number arg() const { return number; }
    Number number;
};

struct CountAdapter : Implied {
    static std::string type() { return "count"; }
    explicit CountAdapter(Frame &frame) : count(frame.count) {}
    int arg() const { return count; }
    int count;
};

template <class Before>
using IntAdapter = std::conditional_t<is_list<Before>, CountAdapter, NumberAdapter<int, Before>>;
template <class Before>
struct Adapter<int, Before> : IntAdapter<Before> {
    explicit Adapter(Frame &frame) : IntAdapter<Before>(frame) {}
};

template <class Before>
struct Adapter<unsigned, Before> : NumberAdapter<unsigned, Before> {
    explicit Adapter(Frame &frame) : NumberAdapter<unsigned, Before>(frame) {}
};

template <class Before>
struct Adapter<bool, Before> : Given {
    static std::string type() { return "bool"; }
    static void check(const Argument &argument)
    {
        if (argument.text != "true" && argument.text != "false")
            throw UsageError{"'" + argument.text + "' must be true or false"};
    }
    explicit Adapter(Frame &frame) : flag(frame.take().text == "true") {}
    bool arg() const { return flag; }
    bool flag;
};

template <class Before>
struct Adapter<const char *, Before> : Given {
    static std::string type() { return "text"; }
    explicit Adapter(Frame &frame) : given(frame.take()) {}
    const char *arg() const { return given.null ? nullptr : given.text.c_str(); }
    Argument given;
};

template <class Before>
struct Adapter<const int *, Before> : Given {
    static std::string type() { return "int,..."; }
    static std::vector<int> parse(const Argument &argument)
    {
        std::vector<int> numbers;
        for (const Json &item : items_from(argument.text))
            numbers.push_back(number_from<int>(item.is_string() ? item.get<std::string>() : text_of(item),
                                               "a whole number of 32 bits"));
        return numbers;
    }
    static void check(const Argument &argument)
    {
        if (!argument.null)
            parse(argument);
    }
    explicit Adapter(Frame &frame) : given(frame.take())
    {
        if (!given.null)
            numbers = parse(given);
        frame.count = static_cast<int>(numbers.size());
    }
    const int *arg() const { return given.null ? nullptr : numbers.data(); }
    Argument given;
    std::vector<int> numbers{};
};

template <class Before>
struct Adapter<const char *const *, Before> : Given {
    static std::string type() { return "text,..."; }
    static void check(const Argument &argument)
    {
        if (!argument.null)
            items_from(argument.text);
    }
    explicit Adapter(Frame &frame) : given(frame.take())
    {
        if (!given.null)
            for (const Json &item : items_from(given.text))
                texts.push_back(item.is_string() ? item.get<std::string>() : text_of(item));
        frame.count = static_cast<int>(texts.size());
    }
    const char *const *arg()
    {
        for (const std::string &text : texts)
            pointers.push_back(text.c_str());
        return given.null ? nullptr : pointers.data();
    }
    Argument given;
    std::vector<std::string> texts{};
    std::vector<const char *> pointers{};
};

template <class T, class Before>
struct OutAdapter : Out {
    explicit OutAdapter(Frame &) {}
    T *arg() { return &value; }
    void done(Frame &frame) { frame.outs.push_back({Json(value)}); }
    T value{};
};

template <class Before>
struct Adapter<int *, Before> : OutAdapter<int, Before> {
    static std::string type() { return "int"; }
    explicit Adapter(Frame &frame) : OutAdapter<int, Before>(frame) {}
};

template <class Before>
struct Adapter<bool *, Before> : OutAdapter<bool, Before> {
    static std::string type() { return "bool"; }
    explicit Adapter(Frame &frame) : OutAdapter<bool, Before>(frame) {}
};

template <class Before>
struct Adapter<char **, Before> : Out {
    static std::string type() { return "text"; }
    explicit Adapter(Frame &) {}
    char **arg() { return &text; }
    void done(Frame &frame)
    {
        frame.outs.push_back({text ? Json(text) : Json(nullptr)});
        free(text);
    }
    char *text = nullptr;
};

/// The count of the list that the previous parameter returns.
template <class T>
struct Adapter<int *, T ***> : Implied {
    static std::string type() { return "count"; }
    explicit Adapter(Frame &) {}
    int *arg() { return &count; }
    void done(Frame &frame)
    {
        frame.outs.back().object->count = count;
        frame.outs.back().json = frame.outs.back().object->type + " of " + std::to_string(count);
    }
    int count = 0;
};

/// A handle, or a list of them, that an earlier call returned.
template <class Pointer, class Before>
struct HandleAdapter : Given {
    static constexpr bool object = true;
    explicit HandleAdapter(Frame &frame) : given(frame.take())
    {
        if (given.object)
            frame.count = given.object->count;
    }
    Pointer arg() const { return given.object ? static_cast<Pointer>(given.object->pointer) : nullptr; }
    Argument given;
};

template <class Pointer, class Before>
struct NewHandleAdapter : Out {
    static constexpr bool object = true;
    explicit NewHandleAdapter(Frame &) {}
    Pointer *arg() { return &value; }
    void done(Frame &frame)
    {
        const std::string type = Adapter<Pointer *, Before>::type();
        frame.outs.push_back({Json(type), frame.session.keep({type, value})});
    }
    Pointer value = nullptr;
};

template <class T, class Before>
struct Adapter<T *, Before> : HandleAdapter<T *, Before> {
    static std::string type() { return handle_type<T>(); }
    explicit Adapter(Frame &frame) : HandleAdapter<T *, Before>(frame) {}
};

template <class T, class Before>
using OutOrList = std::conditional_t<is_listed<T>, HandleAdapter<T **, Before>, NewHandleAdapter<T *, Before>>;
template <class T, class Before>
struct Adapter<T **, Before> : OutOrList<T, Before> {
    static std::string type() { return handle_type<T>() + (is_listed<T> ? " list" : ""); }
    explicit Adapter(Frame &frame) : OutOrList<T, Before>(frame) {}
};

/// The out argument for a list.
template <class T, class Before>
struct Adapter<T ***, Before> : NewHandleAdapter<T **, Before> {
    static std::string type() { return handle_type<T>() + " list"; }
    explicit Adapter(Frame &frame) : NewHandleAdapter<T **, Before>(frame) {}
};

template <class... Args, class Before>
struct Adapter<void (*)(Args...), Before> : AdapterBase<Parameter::Role::callback> {
    static std::string type();
    explicit Adapter(Frame &) {}
};

} // namespace kv::ctl
