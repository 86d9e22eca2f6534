// SPDX-License-Identifier: Apache-2.0
#include "call_line.hpp"

#include "tools/ctl/output/failure.hpp"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

namespace kv::ctl {

namespace {

constexpr const char *function_missing = "name a FUNCTION before and after each ':'";

/// A number of a reference; `whole` is the reference, for the error.
std::size_t index_in(const std::string &text, const std::string &whole)
{
    std::size_t index = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, index);
    if (error != std::errc{} || stopped != end || index == 0)
        throw UsageError{"'" + whole +
                         "' must be an earlier value: $1 is what the first call returned, $1.2 its second value"};
    return index;
}

Reference reference_in(const std::string &text)
{
    const std::size_t dot = text.find('.');
    if (dot == std::string::npos)
        return {index_in(text.substr(1), text), 0};
    return {index_in(text.substr(1, dot - 1), text), index_in(text.substr(dot + 1), text)};
}

std::string file_content(const std::string &path)
{
    std::ifstream file{path};
    std::ostringstream text;
    if (!file || !(text << file.rdbuf()))
        throw UsageError{"cannot read '" + path + "', which '@' names; write '@@' for a text that begins with '@'"};
    return text.str();
}

CallArgument argument_in(const std::string &text)
{
    if (text == "@null")
        return {{"", true}};
    if (text.rfind("@@", 0) == 0 || text.rfind("$$", 0) == 0)
        return {{text.substr(1)}};
    if (text.rfind('@', 0) == 0)
        return {{file_content(text.substr(1))}};
    if (text.rfind('$', 0) == 0)
        return {{}, reference_in(text)};
    return {{text}};
}

std::string kind_of(const Parameter &parameter)
{
    return parameter.object ? "a handle of kind '" + parameter.type + "'" : parameter.type;
}

/// The out parameter that a reference names. `text` is the reference, for errors.
Parameter referenced_parameter(const Reference &reference, const std::vector<Call> &earlier, const std::string &text)
{
    if (reference.call > earlier.size())
        throw UsageError{"'" + text + "' must refer to an earlier call of the line"};
    const Function &function = *earlier[reference.call - 1].function;
    const std::vector<Parameter> outs = function.with_role(Parameter::Role::out);
    const std::string list = " list";
    if (reference.part > 0 && !outs.empty() && outs[0].type.ends_with(list)) // an item
        return {outs[0].role, outs[0].type.substr(0, outs[0].type.size() - list.size()), true};
    if (std::max<std::size_t>(reference.part, 1) > outs.size())
        throw UsageError{"'" + text + "': " + function.name + " returns " +
                         (outs.empty() ? "nothing" : std::to_string(outs.size()) + " values")};
    return outs[reference.part > 0 ? reference.part - 1 : 0];
}

/// One argument of a call and the parameter it is for.
struct Pair {
    const Call &call;
    std::size_t index;
    const Parameter &wanted;
    const std::string &text;
};

void check_argument(const Pair &pair, const std::vector<Call> &earlier)
{
    const CallArgument &given = pair.call.arguments[pair.index];
    if (given.reference) {
        const Parameter found = referenced_parameter(*given.reference, earlier, pair.text);
        if (found.object != pair.wanted.object || (found.object && found.type != pair.wanted.type))
            throw UsageError{"'" + pair.text + "' is " + kind_of(found) + ", not " + kind_of(pair.wanted)};
    } else if (pair.wanted.object && !given.argument.null) {
        throw UsageError{"'" + pair.text + "' must be " + kind_of(pair.wanted) +
                         ": refer to what an earlier call returned, for example with $1"};
    } else {
        pair.call.function->check(pair.index, given.argument);
    }
}

void check_call(const Call &call, const std::vector<std::string> &texts, const std::vector<Call> &earlier)
{
    const std::vector<Parameter> wanted = call.function->with_role(Parameter::Role::given);
    if (wanted.size() != texts.size())
        throw UsageError{"it takes " + std::to_string(wanted.size()) + " arguments, not " +
                         std::to_string(texts.size()) + ": " + call.function->usage()};
    for (std::size_t i = 0; i < wanted.size(); ++i)
        check_argument({call, i, wanted[i], texts[i]}, earlier);
}

/// One call: the name of a function and its arguments.
Call parse_call(const std::string &name, const std::vector<std::string> &texts, const std::vector<Call> &earlier)
{
    Call call{&function_named(name)};
    try {
        for (const std::string &text : texts)
            call.arguments.push_back(argument_in(text));
        check_call(call, texts, earlier);
    } catch (const UsageError &problem) {
        throw UsageError{name + ": " + problem.what()};
    }
    return call;
}

/// The item of a list that an earlier call returned.
Argument item_of(const Object &list, std::size_t index, const std::string &name)
{
    if (index > static_cast<std::size_t>(list.count))
        throw Failure{failed, name + " has only " + std::to_string(list.count) + " items"};
    void *item = static_cast<void **>(list.pointer)[index - 1];
    return {"", false, std::make_shared<Object>(Object{"item", item})};
}

/// An out value as the argument of a later call.
Argument argument_from(const OutValue &value)
{
    if (value.object)
        return {"", false, value.object};
    return {value.json.is_string() ? value.json.get<std::string>() : text_of(value.json), value.json.is_null()};
}

} // namespace

std::vector<Call> parse_calls(const std::vector<std::string> &words)
{
    if (words.empty())
        throw UsageError{"name the FUNCTION to call; 'korvanectl functions' lists them"};
    std::vector<Call> calls;
    for (auto word = words.begin();; ++word) { // behind the ':'
        const auto end = std::find(word, words.end(), ":");
        if (word == end)
            throw UsageError{function_missing};
        calls.push_back(parse_call(*word, {word + 1, end}, calls));
        if (end == words.end())
            return calls;
        word = end;
    }
}

Argument resolve(const CallArgument &argument, const Results &results)
{
    if (!argument.reference)
        return argument.argument;
    const auto [call, part] = *argument.reference;
    const std::string name = "$" + std::to_string(call);
    const std::vector<OutValue> &outs = results[call - 1];
    if (outs.empty())
        throw Failure{failed, name + " does not exist: that call failed"};
    const std::shared_ptr<Object> &first = outs[0].object;
    if (first && first->released)
        throw Failure{failed, name + " was released by an earlier call"};
    if (first && first->count >= 0 && part > 0)
        return item_of(*first, part, name);
    return argument_from(outs[part > 0 ? part - 1 : 0]);
}

} // namespace kv::ctl
