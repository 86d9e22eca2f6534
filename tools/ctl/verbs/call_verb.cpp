// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/calls/call_line.hpp"
#include "tools/ctl/calls/session.hpp"
#include "tools/ctl/output/coded_text.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

namespace kv::ctl {

namespace {

constexpr double default_wait_s = 10; // with --events

struct CallOptions {
    double wait = 0;
    int events = 0;
    bool keep_going = false;
};

Json values_of(const std::vector<OutValue> &outs)
{
    Json values = Json::array();
    for (const OutValue &out : outs)
        values.push_back(out.json);
    return values;
}

/// The values that a function returns or passes to its callback, numbers with their names.
std::string joined(const Json &values, const char *function)
{
    std::string text;
    int index = 0;
    for (const Json &value : values)
        text += (text.empty() ? "" : ", ") + coded_text(value, master::coding_of_function(function, index++));
    return text;
}

void print_result(const Output &out, std::size_t number, const Function &function, int result, const Json &values)
{
    const auto colour = result == 0 ? Output::Colour::green : Output::Colour::red;
    out.line(std::to_string(number) + "  " + function.name + ": " + out.in(colour, result_name(result)) +
                 (values.empty() ? "" : "  " + joined(values, function.name)),
             {{"call", number},
              {"function", function.name},
              {"result", result},
              {"name", result_name(result)},
              {"out", values}});
}

std::vector<Argument> resolved(const std::vector<CallArgument> &given, const Results &results)
{
    std::vector<Argument> arguments;
    for (const CallArgument &argument : given)
        arguments.push_back(resolve(argument, results));
    return arguments;
}

/// Makes the calls in order. Returns false if one failed.
bool make_calls(const Output &out, Session &session, const std::vector<Call> &calls, bool keep_going)
{
    Results results;
    bool all_passed = true;
    for (const Call &call : calls) {
        std::vector<OutValue> outs;
        const int result = session.call(*call.function, resolved(call.arguments, results), outs);
        print_result(out, results.size() + 1, *call.function, result, values_of(outs));
        results.push_back(std::move(outs));
        session.listen(0, 0);
        all_passed = all_passed && result == 0;
        if (!all_passed && !keep_going)
            return false;
    }
    return all_passed;
}

int run_calls(const Output &out, const std::vector<Call> &calls, const CallOptions &options)
{
    Session session{[&out](const std::string &function, int parameter, const Json &values) {
        const Json object{{"callback", function}, {"place", parameter}, {"values", values}};
        out.line(out.in(Output::Colour::blue, "callback of " + function + "(" + joined(values, function.c_str()) + ")"),
                 object);
    }};
    const bool all_passed = make_calls(out, session, calls, options.keep_going);
    if (!all_passed && !options.keep_going)
        return failed;
    session.listen(options.wait, options.events);
    if (options.events > session.callbacks())
        throw Failure{failed, "only " + std::to_string(session.callbacks()) + " of " + std::to_string(options.events) +
                                  " callbacks ran in time; --wait sets the time"};
    return all_passed ? done : failed;
}

std::function<int()> set_up_call(CLI::App &app, Context &context)
{
    auto options = std::make_shared<CallOptions>();
    app.prefix_command();
    app.add_option("--wait", options->wait, "Run callbacks for so many seconds after the calls")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    app.add_option("--events", options->events, "End after so many callbacks; fail if there are fewer")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_flag("--keep-going", options->keep_going, "Continue when a call fails");
    return [&app, &context, options] {
        const std::vector<Call> calls = parse_calls(app.remaining());
        if (options->events > 0 && options->wait == 0)
            options->wait = default_wait_s;
        return run_calls(context.out, calls, *options);
    };
}

std::vector<std::string> complete_call(const std::vector<std::string> &words)
{
    const bool first = words.size() == 1 || words[words.size() - 2] == ":";
    return first ? short_function_names() : std::vector<std::string>{};
}

} // namespace

const Verb call_verb{
    .name = "call",
    .help = "Call functions of korvane.h",
    .usage = "FUNCTION [ARGUMENT]... [: FUNCTION [ARGUMENT]...]...",
    .examples = "  korvanectl call get_device_id\n"
                "  korvanectl call set_device_property Washer 11 3\n"
                "  korvanectl call aplist_create 1 : aplist_set_ssid '$1' 0 home : send_ap_list '$1' 7\n"
                "  korvanectl call set_language_list en-GB,fr-FR\n"
                "  korvanectl call --events 1 get_group_id\n"
                "The library's handle is created, connected and released automatically. ARGUMENT can be\n"
                "  @FILE    the content of a file, for text that must not appear in a list of processes\n"
                "  @null    NULL\n"
                "  $2       what the second call returned; $2.1 its first value or, of a list, its first item\n"
                "  @@ or $$ at the beginning, for a text that begins with @ or $\n"
                "Callbacks print their values.",
    .set_up = set_up_call,
    .complete = complete_call,
};

} // namespace kv::ctl
