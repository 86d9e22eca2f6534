// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/calls/function.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

#include <charconv>
#include <fstream>
#include <sstream>

namespace kv::ctl {

namespace {

/// A value that an earlier call of the line handed out: $2, or $2.1.
struct Reference {
    std::size_t call; // counted from 1
    std::size_t part; // 0: the first
};

struct Word {
    Argument argument;
    std::optional<Reference> reference{};
};

struct Call {
    const Function *function;
    std::vector<Word> words{};
};

/// What a call has left behind for later ones.
using Results = std::vector<std::vector<OutValue>>;

std::size_t count_in(const std::string &text, const std::string &whole)
{
    std::size_t count = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, count);
    if (error != std::errc{} || stopped != end || count == 0)
        throw UsageError{"'" + whole +
                         "' is no earlier value: $1 is what the first call hands out, $1.2 its second value"};
    return count;
}

std::string content_of(const std::string &path)
{
    std::ifstream file{path};
    std::ostringstream text;
    if (!file || !(text << file.rdbuf()))
        throw UsageError{"cannot read '" + path +
                         "' (an argument that begins with @ names a file; @@ stands for one @)"};
    return text.str();
}

Word word_of(const std::string &text)
{
    if (text == "@null")
        return {{"", true}};
    if (text.rfind("@@", 0) == 0 || text.rfind("$$", 0) == 0)
        return {{text.substr(1)}};
    if (text.rfind('@', 0) == 0)
        return {{content_of(text.substr(1))}};
    if (text.rfind('$', 0) != 0)
        return {{text}};
    const std::size_t dot = text.find('.');
    const bool whole = dot == std::string::npos;
    return {{},
            Reference{count_in(text.substr(1, whole ? dot : dot - 1), text),
                      whole ? 0 : count_in(text.substr(dot + 1), text)}};
}

std::string article_and_type(const Form &form)
{
    return form.object ? "a handle of kind '" + form.type + "'" : form.type;
}

/// The form of what a reference stands for.
Form form_of(const Reference &reference, const std::vector<Call> &earlier, const std::string &text)
{
    if (reference.call > earlier.size())
        throw UsageError{"'" + text + "' is not there yet: it must be what an earlier call hands out"};
    const Function &function = *earlier[reference.call - 1].function;
    const std::vector<Form> outs = function.with_role(Form::Role::out);
    const std::string list = " list";
    if (reference.part > 0 && !outs.empty() && outs[0].type.ends_with(list)) // an item
        return {outs[0].role, outs[0].type.substr(0, outs[0].type.size() - list.size()), true};
    if (std::max<std::size_t>(reference.part, 1) > outs.size())
        throw UsageError{"'" + text + "': " + function.name + " hands out " +
                         (outs.empty() ? "nothing" : std::to_string(outs.size()) + " values")};
    return outs[reference.part > 0 ? reference.part - 1 : 0];
}

void check(const Call &call, const std::vector<std::string> &texts, const std::vector<Call> &earlier)
{
    const std::vector<Form> wanted = call.function->with_role(Form::Role::given);
    if (wanted.size() != call.words.size())
        throw UsageError{"it takes " + std::to_string(wanted.size()) + " arguments, not " +
                         std::to_string(call.words.size()) + ": " + call.function->shown()};
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const Word &word = call.words[i];
        if (word.reference) {
            const Form form = form_of(*word.reference, earlier, texts[i]);
            if (form.object != wanted[i].object || (form.object && form.type != wanted[i].type))
                throw UsageError{"'" + texts[i] + "' is " + article_and_type(form) + ", not " +
                                 article_and_type(wanted[i])};
        } else if (wanted[i].object && !word.argument.none) {
            throw UsageError{"'" + texts[i] + "' cannot be " + article_and_type(wanted[i]) +
                             ": name what an earlier call hands out, like $1"};
        } else {
            call.function->check(i, word.argument);
        }
    }
}

/// NAME ARG... : NAME ARG...
std::vector<Call> calls_in(const std::vector<std::string> &words)
{
    std::vector<Call> calls;
    for (auto word = words.begin(); word != words.end();) {
        const auto end = std::find(word, words.end(), ":");
        if (word == end)
            throw UsageError{"a function's name is missing beside ':'"};
        Call call{&function_named(*word)};
        const std::vector<std::string> texts{word + 1, end};
        try {
            for (const std::string &text : texts)
                call.words.push_back(word_of(text));
            check(call, texts, calls);
        } catch (const UsageError &problem) {
            throw UsageError{*word + ": " + problem.what()};
        }
        calls.push_back(std::move(call));
        word = end == words.end() ? end : end + 1;
        if (end != words.end() && word == words.end())
            throw UsageError{"a function's name is missing beside ':'"};
    }
    if (calls.empty())
        throw UsageError{"which function is to be called? 'korvanectl functions' lists them"};
    return calls;
}

Argument resolved(const Word &word, const Results &results)
{
    if (!word.reference)
        return word.argument;
    const auto [number, part] = *word.reference;
    const std::string name = "$" + std::to_string(number);
    const std::vector<OutValue> &outs = results[number - 1];
    if (outs.empty())
        throw Failure{failed, "there is no " + name + ": that call failed"};
    const std::shared_ptr<Object> &first = outs[0].object;
    if (first && first->released)
        throw Failure{failed, name + " was released by an earlier call"};
    if (first && first->count >= 0 && part > 0) {
        if (part > static_cast<std::size_t>(first->count))
            throw Failure{failed, name + " has " + std::to_string(first->count) + " items only"};
        void *item = static_cast<void **>(first->pointer)[part - 1];
        return {"", false, std::make_shared<Object>(Object{"item", item})};
    }
    const OutValue &value = outs[part > 0 ? part - 1 : 0];
    if (value.object)
        return {"", false, value.object};
    return {value.shown.is_string() ? value.shown.get<std::string>() : text_of(value.shown), value.shown.is_null()};
}

Json shown_values(const std::vector<OutValue> &outs)
{
    Json values = Json::array();
    for (const OutValue &out : outs)
        values.push_back(out.shown);
    return values;
}

std::string joined(const Json &values)
{
    std::string text;
    for (const Json &value : values)
        text += (text.empty() ? "" : ", ") + text_of(value);
    return text;
}

struct CallOptions {
    double wait = 0;
    int events = 0;
    bool keep_going = false;
};

int run(const Output &out, const std::vector<Call> &calls, const CallOptions &options)
{
    Session session{[&out](const std::string &function, int callback, const Json &values) {
        Json facts{{"callback", function}, {"place", callback}, {"values", values}};
        out.line(out.in(Output::Colour::blue, "callback of " + function + "(" + joined(values) + ")"), facts);
    }};
    Results results;
    bool all_well = true;
    for (const Call &call : calls) {
        std::vector<Argument> arguments;
        for (const Word &word : call.words)
            arguments.push_back(resolved(word, results));
        std::vector<OutValue> outs;
        const int result = session.call(*call.function, arguments, outs);
        all_well = all_well && result == 0;
        const Json values = shown_values(outs);
        const std::string number = std::to_string(results.size() + 1);
        const auto colour = result == 0 ? Output::Colour::green : Output::Colour::red;
        out.line(number + "  " + call.function->name + ": " + out.in(colour, result_name(result)) +
                     (values.empty() ? "" : "  " + joined(values)),
                 {{"call", results.size() + 1},
                  {"function", call.function->name},
                  {"result", result},
                  {"name", result_name(result)},
                  {"out", values}});
        results.push_back(std::move(outs));
        session.listen(0, 0);
        if (!all_well && !options.keep_going)
            return failed;
    }
    session.listen(options.wait, options.events);
    if (options.events > session.callbacks())
        throw Failure{failed, "only " + std::to_string(session.callbacks()) + " of " + std::to_string(options.events) +
                                  " callbacks came within the time that --wait gives"};
    return all_well ? done : failed;
}

std::function<int()> set_up_call(CLI::App &app, Context &context)
{
    auto options = std::make_shared<CallOptions>();
    app.prefix_command();
    app.add_option("--wait", options->wait, "how many seconds to hear callbacks afterwards")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    app.add_option("--events", options->events, "ends as soon as so many have come; fails if they do not")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_flag("--keep-going", options->keep_going, "goes on when a call fails");
    return [&app, &context, options] {
        const std::vector<Call> calls = calls_in(app.remaining());
        if (options->events > 0 && options->wait == 0)
            options->wait = 10;
        return run(context.out, calls, *options);
    };
}

std::function<int()> set_up_functions(CLI::App &app, Context &context)
{
    auto text = std::make_shared<std::string>();
    app.add_option("TEXT", *text, "only functions with this in their names");
    return [&context, text] {
        int shown = 0;
        for (const Function &function : all_functions()) {
            if (std::string{function.name}.find(*text) == std::string::npos)
                continue;
            ++shown;
            Json facts{{"name", function.name}};
            for (const auto &[member, role] : {std::pair{"arguments", Form::Role::given},
                                               {"callbacks", Form::Role::callback},
                                               {"outs", Form::Role::out}}) {
                facts[member] = Json::array();
                for (const Form &form : function.with_role(role))
                    facts[member].push_back(form.type);
            }
            context.out.line(function.shown(), facts);
        }
        if (shown == 0)
            throw Failure{failed, "no function has '" + *text + "' in its name"};
        return static_cast<int>(done);
    };
}

} // namespace

const Verb call_verb{
    "call", "calls FUNCTION ARG... [: FUNCTION ARG...]... of korvane.h; makes and connects the library's handle",
    "  korvanectl call get_device_id\n"
    "  korvanectl call set_device_property Washer 11 3\n"
    "  korvanectl call aplist_create 1 : aplist_set_ssid '$1' 0 home : send_ap_list '$1' 7\n"
    "  korvanectl call set_language_list en-GB,fr-FR\n"
    "  korvanectl call --events 1 get_group_id\n"
    "An argument @FILE is what the file holds, for what is not to be seen in a list of processes; @null is NULL; $2 "
    "is\n"
    "what the second call hands out, $2.1 its first value or, of a list, its first item; @@ and $$ stand for one of "
    "them.\n"
    "Callbacks print what they get.",
    set_up_call};

const Verb functions_verb{"functions", "lists the exported functions with what they take and hand out",
                          "  korvanectl functions aplist\n"
                          "  korvanectl functions --json | jq -r .name",
                          set_up_functions};

} // namespace kv::ctl
