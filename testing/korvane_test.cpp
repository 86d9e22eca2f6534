// SPDX-License-Identifier: Apache-2.0
#include "korvane_test.h"

#include "testing/support/child_process.hpp"
#include "testing/support/read_file.hpp"
#include "testing/support/temporary_directory.hpp"
#include "testing/support/wait.hpp"

#include <cjson/cJSON.h>
#include <glib.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

using kv::test::ChildProcess;
using kv::test::run_main_loop_until;
using std::chrono::milliseconds;

namespace {

/// Documented: how long the agent may take to start, and to reply to a command.
constexpr milliseconds reply_timeout{30'000};

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

Json parse(const std::string &text)
{
    Json value{cJSON_Parse(text.c_str()), cJSON_Delete};
    if (!value)
        throw std::runtime_error{"not JSON: " + text};
    return value;
}

const cJSON *member(const Json &object, const char *name)
{
    return cJSON_GetObjectItemCaseSensitive(object.get(), name);
}

std::string text_of(const Json &value)
{
    const std::unique_ptr<char, decltype(&cJSON_free)> printed{cJSON_PrintUnformatted(value.get()), cJSON_free};
    return printed.get();
}

/// A variable of the environment of this process; its previous value returns on destruction.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char *name, const std::string &value)
        : name_(name), previous_(g_strdup(g_getenv(name)), g_free)
    {
        g_setenv(name, value.c_str(), true);
    }
    ~EnvironmentVariable()
    {
        if (previous_)
            g_setenv(name_, previous_.get(), true);
        else
            g_unsetenv(name_);
    }
    EnvironmentVariable(const EnvironmentVariable &) = delete;
    EnvironmentVariable &operator=(const EnvironmentVariable &) = delete;

private:
    const char *name_;
    std::unique_ptr<char, decltype(&g_free)> previous_;
};

/// The directory of an agent: an existing one, which stays, or a temporary one.
class Directory {
public:
    explicit Directory(const char *existing)
    {
        if (!existing)
            temporary_.emplace();
        path_ = existing ? std::string{existing} : temporary_->path().string();
    }

    const std::string &path() const { return path_; }
    std::string operator/(const char *name) const { return path_ + "/" + name; }

private:
    std::optional<kv::test::TemporaryDirectory> temporary_{};
    std::string path_{};
};

std::vector<std::string> command_line(const korvane_test_options &options, const Directory &directory)
{
    const char *from_environment = g_getenv("KORVANE_AGENT");
    const char *program = options.program ? options.program : from_environment ? from_environment : "korvane-agent";
    std::vector<std::string> line = {program, "--commands", "--exit-with-parent", "--log", directory / "agent.log"};
    if (options.version)
        line.insert(line.end(), {"--agent-version", options.version});
    for (const char *const *argument = options.arguments; argument && *argument; ++argument)
        line.emplace_back(*argument);
    return line;
}

std::string first_line_of_file(const std::string &path)
{
    const std::string content = kv::test::read_file(path);
    return content.substr(0, content.find('\n'));
}

/// Runs the main loop until the agent has printed a line; `nullopt` if it does not within the timeout or has ended.
std::optional<std::string> wait_for_line(ChildProcess &agent, milliseconds timeout)
{
    std::optional<std::string> line;
    run_main_loop_until([&] { return (line = agent.read_line()) || agent.output_has_ended(); }, timeout);
    return line;
}

/// Whether the line is {"agent":"ready",...}.
bool reports_ready(const std::string &line)
{
    const Json report{cJSON_Parse(line.c_str()), cJSON_Delete};
    const char *state = cJSON_GetStringValue(member(report, "agent"));
    return state && std::string_view{state} == "ready";
}

} // namespace

struct korvane_test_agent_s {
    explicit korvane_test_agent_s(const korvane_test_options &options)
        : directory(options.directory),
          process({.words = command_line(options, directory), .error_file = directory / "agent.err"})
    {
        const std::optional<std::string> line = wait_for_line(process, reply_timeout);
        if (!line || !reports_ready(*line))
            throw std::runtime_error{"the agent does not become ready: " + reason(line)};
    }

    /// Why the agent is not ready, with its first line, if any.
    std::string reason(const std::optional<std::string> &line)
    {
        const std::string error = first_line_of_file(directory / "agent.err");
        if (!error.empty())
            return error;
        if (line)
            return "it printed " + *line;
        if (!process.output_has_ended())
            return "it printed nothing within " + std::to_string(reply_timeout.count() / 1000) + " s";
        const int status = process.wait(reply_timeout).value_or(0);
        return status < 0 ? "signal " + std::to_string(-status) + " ended it"
                          : "it ended with exit status " + std::to_string(status);
    }

    Directory directory;
    EnvironmentVariable packages{"KORVANE_PACKAGE_DIR", directory / "packages"};
    EnvironmentVariable runtime{"KORVANE_RUNTIME_DIR", directory / "run"};
    ChildProcess process;
    std::string problem{};
    int next_entry = 0; // of the agent's journal: where the next wait for a call begins
};

namespace {

std::string &start_problem()
{
    static std::string problem;
    return problem;
}

/// Runs a function that C code has called: an exception becomes the agent's problem and an empty result.
template <class Function>
auto without_exceptions(korvane_test_agent *agent, Function function) -> decltype(function())
{
    agent->problem.clear();
    try {
        return function();
    } catch (const std::exception &problem) {
        agent->problem = problem.what();
        return {};
    }
}

/// Sends a command and returns the reply. Throws the agent's reason if the command fails.
Json send_command(korvane_test_agent *agent, const std::string &line, milliseconds timeout = reply_timeout)
{
    const bool is_sent = agent->process.write_line(line);
    const std::optional<std::string> text = is_sent ? wait_for_line(agent->process, timeout) : std::nullopt;
    if (!text)
        throw std::runtime_error{is_sent && !agent->process.output_has_ended() ? "the agent does not answer"
                                                                               : "the agent has died"};
    Json reply = parse(*text);
    if (cJSON_IsTrue(member(reply, "ok")))
        return reply;
    const char *error = cJSON_GetStringValue(member(reply, "error"));
    throw std::runtime_error{error ? error : *text};
}

Json object()
{
    return {cJSON_CreateObject(), cJSON_Delete};
}

void add(Json &object, const char *name, Json value)
{
    cJSON_AddItemToObject(object.get(), name, value.release());
}

Json text_value(const char *text)
{
    return {cJSON_CreateString(text), cJSON_Delete};
}

int number_in(const cJSON *object, const char *name)
{
    const cJSON *number = cJSON_GetObjectItemCaseSensitive(object, name);
    return cJSON_IsNumber(number) ? number->valueint : 0;
}

/// Runs a scenario to its end. `scenario` is the argument of the command `play`. Throws if the scenario fails.
void play(korvane_test_agent *agent, const std::string &scenario, milliseconds timeout)
{
    send_command(agent, "play " + scenario);
    std::string problem;
    const bool has_ended = run_main_loop_until(
        [&] {
            const Json reply = send_command(agent, "state play");
            const cJSON *state = member(reply, "state");
            const char *text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(state, "problem"));
            problem = text ? text : "";
            return cJSON_IsFalse(cJSON_GetObjectItemCaseSensitive(state, "running")) != 0;
        },
        timeout);
    if (!has_ended) {
        send_command(agent, "stop-play");
        problem = "the scenario takes longer than " + std::to_string(timeout.count()) + " ms";
    }
    if (!problem.empty())
        throw std::runtime_error{problem};
}

/// A filter that matches the calls of a method in the journal.
Json calls_of(const char *method, const char *with)
{
    Json filter = object();
    add(filter, "method", text_value(method));
    if (with)
        add(filter, "arguments", parse(with));
    return filter;
}

} // namespace

korvane_test_agent *korvane_test_start(const korvane_test_options *options)
{
    const korvane_test_options defaults{};
    start_problem().clear();
    try {
        return new korvane_test_agent_s{options ? *options : defaults};
    } catch (const std::exception &problem) {
        start_problem() = problem.what();
        return nullptr;
    }
}

void korvane_test_stop(korvane_test_agent *agent)
{
    delete agent;
}

char *korvane_test_ask(korvane_test_agent *agent, const char *command)
{
    return without_exceptions(agent, [&] { return ::strdup(text_of(send_command(agent, command)).c_str()); });
}

bool korvane_test_tell(korvane_test_agent *agent, const char *command)
{
    return without_exceptions(agent, [&] { return static_cast<bool>(send_command(agent, command)); });
}

bool korvane_test_wait_for_call(korvane_test_agent *agent, const char *method, const char *with, int within_ms)
{
    return without_exceptions(agent, [&] {
        const std::string line = "wait " + text_of(calls_of(method, with)) + " " + std::to_string(within_ms) + " " +
                                 std::to_string(agent->next_entry);
        const Json reply = send_command(agent, line, milliseconds{within_ms} + reply_timeout);
        agent->next_entry = number_in(member(reply, "entry"), "seq") + 1;
        return true;
    });
}

bool korvane_test_until(korvane_test_agent *agent, const char *path, const char *value, int within_ms)
{
    return without_exceptions(agent, [&] {
        Json wanted = object();
        add(wanted, path, parse(value));
        Json step = object();
        add(step, "until", std::move(wanted));
        cJSON_AddNumberToObject(step.get(), "within_ms", within_ms);
        play(agent, R"({"steps":[)" + text_of(step) + "]}", milliseconds{within_ms} + reply_timeout);
        return true;
    });
}

int korvane_test_count_calls(korvane_test_agent *agent, const char *method)
{
    return without_exceptions(agent, [&] {
        const Json reply = send_command(agent, "count " + text_of(calls_of(method, nullptr)));
        return number_in(reply.get(), "count");
    });
}

bool korvane_test_play(korvane_test_agent *agent, const char *path, int within_ms)
{
    return without_exceptions(agent, [&] {
        play(agent, text_of(text_value(path)), milliseconds{within_ms});
        return true;
    });
}

bool korvane_test_run_until(bool (*condition)(void *user_data), void *user_data, int within_ms)
{
    return run_main_loop_until([&] { return condition(user_data); }, milliseconds{within_ms});
}

const char *korvane_test_problem(const korvane_test_agent *agent)
{
    return agent ? agent->problem.c_str() : start_problem().c_str();
}

const char *korvane_test_directory(const korvane_test_agent *agent)
{
    return agent->directory.path().c_str();
}

int korvane_test_pid(const korvane_test_agent *agent)
{
    return agent->process.pid();
}
