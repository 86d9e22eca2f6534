// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "function.hpp"
#include "tools/ctl/output/failure.hpp"

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <type_traits>

/// What each type of parameter in korvane.h means at the command line. A type that is not here does not compile.
namespace kv::ctl {

/// The name of a handle's struct, shortened: korvane_aplist_s is "aplist".
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

/// Handles that come as lists, with their count: a pointer to one is such a list, not the place for a new one.
template <class T>
inline constexpr bool comes_in_lists = false;
template <>
inline constexpr bool comes_in_lists<korvane_sub_dev_prs_s> = true;

template <class Number>
Number number_from(const std::string &text, const char *wanted)
{
    Number number{};
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stopped != end || text.empty())
        throw UsageError{"'" + text + "' is not " + wanted};
    return number;
}

/// The values of an array: a JSON array, or values with commas between them.
Json items_from(const std::string &text);

/// Calls are made with one slot for each parameter. A slot takes its argument from the frame, is the parameter, and
/// puts what was handed out into the frame afterwards. Before is the type of the parameter in front of it.
template <class T, class Before>
struct Slot;

template <Form::Role Where>
struct SlotBase {
    static constexpr Form::Role role = Where;
    static constexpr bool object = false;
    static void check(const Argument &) {}
    void done(Frame &) {}
};
using Given = SlotBase<Form::Role::given>;
using Out = SlotBase<Form::Role::out>;
using Implied = SlotBase<Form::Role::implied>;

template <class Before>
struct Slot<korvane_h, Before> : Implied {
    static std::string type() { return "handle"; }
    explicit Slot(Frame &frame) : handle(frame.session.handle) {}
    korvane_h arg() const { return handle; }
    korvane_h handle;
};

template <class Before>
struct Slot<korvane_h *, Before> : Implied {
    static std::string type() { return "handle"; }
    explicit Slot(Frame &frame) : session(frame.session) {}
    korvane_h *arg() const { return &session.handle; }
    Session &session;
};

template <class Before>
struct Slot<void *, Before> : Implied {
    static std::string type() { return "user data"; }
    explicit Slot(Frame &frame) : session(frame.session) {}
    void *arg() const { return &session; }
    Session &session;
};

template <class Before>
inline constexpr bool is_list = std::is_same_v<Before, const int *> || std::is_same_v<Before, const char *const *>;
template <class T>
inline constexpr bool is_list<T **> = comes_in_lists<T>;

template <class Number, class Before>
struct NumberSlot : Given {
    static std::string type() { return std::is_signed_v<Number> ? "int" : "unsigned"; }
    static Number parse(const Argument &argument)
    {
        return number_from<Number>(argument.text, std::is_signed_v<Number> ? "a whole number of 32 bits"
                                                                           : "a whole number from 0 to 4294967295");
    }
    static void check(const Argument &argument) { parse(argument); }
    explicit NumberSlot(Frame &frame) : number(parse(frame.take())) {}
    Number arg() const { return number; }
    Number number;
};

struct CountSlot : Implied {
    static std::string type() { return "count"; }
    explicit CountSlot(Frame &frame) : count(frame.count) {}
    int arg() const { return count; }
    int count;
};

template <class Before>
using IntSlot = std::conditional_t<is_list<Before>, CountSlot, NumberSlot<int, Before>>;
template <class Before>
struct Slot<int, Before> : IntSlot<Before> {
    explicit Slot(Frame &frame) : IntSlot<Before>(frame) {}
};

template <class Before>
struct Slot<unsigned, Before> : NumberSlot<unsigned, Before> {
    explicit Slot(Frame &frame) : NumberSlot<unsigned, Before>(frame) {}
};

template <class Before>
struct Slot<bool, Before> : Given {
    static std::string type() { return "bool"; }
    static void check(const Argument &argument)
    {
        if (argument.text != "true" && argument.text != "false")
            throw UsageError{"'" + argument.text + "' is neither true nor false"};
    }
    explicit Slot(Frame &frame) : flag(frame.take().text == "true") {}
    bool arg() const { return flag; }
    bool flag;
};

template <class Before>
struct Slot<const char *, Before> : Given {
    static std::string type() { return "text"; }
    explicit Slot(Frame &frame) : given(frame.take()) {}
    const char *arg() const { return given.none ? nullptr : given.text.c_str(); }
    Argument given;
};

template <class Before>
struct Slot<const int *, Before> : Given {
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
        if (!argument.none)
            parse(argument);
    }
    explicit Slot(Frame &frame) : given(frame.take())
    {
        if (!given.none)
            numbers = parse(given);
        frame.count = static_cast<int>(numbers.size());
    }
    const int *arg() const { return given.none ? nullptr : numbers.data(); }
    Argument given;
    std::vector<int> numbers{};
};

template <class Before>
struct Slot<const char *const *, Before> : Given {
    static std::string type() { return "text,..."; }
    static void check(const Argument &argument)
    {
        if (!argument.none)
            items_from(argument.text);
    }
    explicit Slot(Frame &frame) : given(frame.take())
    {
        if (!given.none)
            for (const Json &item : items_from(given.text))
                texts.push_back(item.is_string() ? item.get<std::string>() : text_of(item));
        frame.count = static_cast<int>(texts.size());
    }
    const char *const *arg()
    {
        for (const std::string &text : texts)
            pointers.push_back(text.c_str());
        return given.none ? nullptr : pointers.data();
    }
    Argument given;
    std::vector<std::string> texts{};
    std::vector<const char *> pointers{};
};

template <class T, class Before>
struct OutSlot : Out {
    explicit OutSlot(Frame &) {}
    T *arg() { return &value; }
    void done(Frame &frame) { frame.outs.push_back({Json(value)}); }
    T value{};
};

template <class Before>
struct Slot<int *, Before> : OutSlot<int, Before> {
    static std::string type() { return "int"; }
    explicit Slot(Frame &frame) : OutSlot<int, Before>(frame) {}
};

template <class Before>
struct Slot<bool *, Before> : OutSlot<bool, Before> {
    static std::string type() { return "bool"; }
    explicit Slot(Frame &frame) : OutSlot<bool, Before>(frame) {}
};

template <class Before>
struct Slot<char **, Before> : Out {
    static std::string type() { return "text"; }
    explicit Slot(Frame &) {}
    char **arg() { return &text; }
    void done(Frame &frame)
    {
        frame.outs.push_back({text ? Json(text) : Json(nullptr)});
        free(text);
    }
    char *text = nullptr;
};

/// How many items a list has that was handed out in front of it.
template <class T>
struct Slot<int *, T ***> : Implied {
    static std::string type() { return "count"; }
    explicit Slot(Frame &) {}
    int *arg() { return &count; }
    void done(Frame &frame)
    {
        frame.outs.back().object->count = count;
        frame.outs.back().shown = frame.outs.back().object->type + " of " + std::to_string(count);
    }
    int count = 0;
};

/// A handle, or a list of them, that was made earlier.
template <class Pointer, class Before>
struct HandleSlot : Given {
    static constexpr bool object = true;
    explicit HandleSlot(Frame &frame) : given(frame.take())
    {
        if (given.object)
            frame.count = given.object->count;
    }
    Pointer arg() const { return given.object ? static_cast<Pointer>(given.object->pointer) : nullptr; }
    Argument given;
};

template <class Pointer, class Before>
struct NewHandleSlot : Out {
    static constexpr bool object = true;
    explicit NewHandleSlot(Frame &) {}
    Pointer *arg() { return &value; }
    void done(Frame &frame)
    {
        const std::string type = Slot<Pointer *, Before>::type();
        frame.outs.push_back({Json(type), frame.session.keep({type, value})});
    }
    Pointer value = nullptr;
};

template <class T, class Before>
struct Slot<T *, Before> : HandleSlot<T *, Before> {
    static std::string type() { return handle_type<T>(); }
    explicit Slot(Frame &frame) : HandleSlot<T *, Before>(frame) {}
};

template <class T, class Before>
using PlaceOrList = std::conditional_t<comes_in_lists<T>, HandleSlot<T **, Before>, NewHandleSlot<T *, Before>>;
template <class T, class Before>
struct Slot<T **, Before> : PlaceOrList<T, Before> {
    static std::string type() { return handle_type<T>() + (comes_in_lists<T> ? " list" : ""); }
    explicit Slot(Frame &frame) : PlaceOrList<T, Before>(frame) {}
};

/// The place for a list.
template <class T, class Before>
struct Slot<T ***, Before> : NewHandleSlot<T **, Before> {
    static std::string type() { return handle_type<T>() + " list"; }
    explicit Slot(Frame &frame) : NewHandleSlot<T **, Before>(frame) {}
};

template <class... Args, class Before>
struct Slot<void (*)(Args...), Before> : SlotBase<Form::Role::callback> {
    static std::string type();
    explicit Slot(Frame &) {}
};

} // namespace kv::ctl
