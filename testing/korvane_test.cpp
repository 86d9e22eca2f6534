// SPDX-License-Identifier: Apache-2.0
#include "korvane_test.h"

#include "process.hpp"

#include <cjson/cJSON.h>
#include <glib.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

using namespace kv::testing_agent;

namespace {

constexpr int patience_ms = 10'000; // with an agent that is to become ready, or to answer

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

Json parsed(const char *text)
{
    Json value{cJSON_Parse(text), cJSON_Delete};
    if (!value)
        throw std::runtime_error{std::string{"not JSON: "} + text};
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

/// A variable of the environment, which gets its former value back.
class Variable {
public:
    Variable(const char *name, const std::string &value) : name_(name), former_(g_strdup(g_getenv(name)), g_free)
    {
        g_setenv(name, value.c_str(), true);
    }
    ~Variable()
    {
        if (former_)
            g_setenv(name_, former_.get(), true);
        else
            g_unsetenv(name_);
    }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;

private:
    const char *name_;
    std::unique_ptr<char, decltype(&g_free)> former_;
};

class Directory {
public:
    /// Another's, or a temporary one when that is NULL.
    explicit Directory(const char *given) : is_temporary_(!given), path_(given ? given : "")
    {
        if (!is_temporary_)
            return;
        path_ = (std::filesystem::temp_directory_path() / "korvane-test-XXXXXX").string();
        if (!::mkdtemp(path_.data()))
            throw std::runtime_error{"cannot make " + path_ + ": " + std::strerror(errno)};
    }
    ~Directory()
    {
        if (!is_temporary_)
            return;
        std::error_code nobody_asks;
        std::filesystem::remove_all(path_, nobody_asks);
    }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;

    const std::string &path() const { return path_; }
    std::string at(const char *name) const { return path_ + "/" + name; }

private:
    bool is_temporary_;
    std::string path_;
};

std::vector<std::string> command_line(const korvane_test_options &options, const Directory &directory)
{
    const char *from_environment = g_getenv("KORVANE_AGENT");
    const char *program = options.program ? options.program : from_environment ? from_environment : "korvane-agent";
    std::vector<std::string> line = {program, "--commands", "--exit-with-parent", "--log", directory.at("agent.log")};
    if (options.version)
        line.insert(line.end(), {"--agent-version", options.version});
    for (const char *const *more = options.arguments; more && *more; ++more)
        line.emplace_back(*more);
    return line;
}

std::string first_line_of(const std::string &file)
{
    char *text = nullptr;
    if (!g_file_get_contents(file.c_str(), &text, nullptr, nullptr))
        return "";
    const std::unique_ptr<char, decltype(&g_free)> owned{text, g_free};
    const std::string whole = text;
    return whole.substr(0, whole.find('\n'));
}

} // namespace

struct korvane_test_agent_s {
    explicit korvane_test_agent_s(const korvane_test_options &options)
        : directory(options.directory), process(command_line(options, directory), directory.at("agent.err"))
    {
        std::optional<std::string> greeting;
        run_until([&] { return (greeting = process.read_line()) || process.ended(); }, patience_ms);
        if (!greeting || greeting->find(" ready, ") == std::string::npos)
            throw std::runtime_error{"the agent does not become ready: " + first_line_of(directory.at("agent.err"))};
    }

    Directory directory;
    Variable packages{"KORVANE_PACKAGE_DIR", directory.at("packages")};
    Variable runtime{"KORVANE_RUNTIME_DIR", directory.at("run")};
    Process process;
    std::string problem{};
    int next_entry = 0; // of the agent's journal, to be looked at by the next wait
};

namespace {

std::string &starting_problem()
{
    static std::string problem;
    return problem;
}

/// Does something whose failure is a sentence.
template <class Work>
auto contained(korvane_test_agent_s *agent, Work work) -> decltype(work())
{
    agent->problem.clear();
    try {
        return work();
    } catch (const std::exception &problem) {
        agent->problem = problem.what();
        return {};
    }
}

/// The answer to a command that went well. Throws the agent's reason when it did not.
Json ask(korvane_test_agent_s *agent, const std::string &line, int within_ms = patience_ms)
{
    std::optional<std::string> answer;
    const bool taken = agent->process.write_line(line);
    if (taken)
        run_until([&] { return (answer = agent->process.read_line()) || agent->process.ended(); }, within_ms);
    if (!answer)
        throw std::runtime_error{taken && !agent->process.ended() ? "the agent does not answer" : "the agent has died"};
    Json whole = parsed(answer->c_str());
    if (cJSON_IsTrue(member(whole, "ok")))
        return whole;
    const char *error = cJSON_GetStringValue(member(whole, "error"));
    throw std::runtime_error{error ? error : *answer};
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

/// Plays a scenario, given as the command takes it, to its end.
void play(korvane_test_agent_s *agent, const std::string &scenario, int within_ms)
{
    ask(agent, "play " + scenario);
    std::string problem;
    const bool over = run_until(
        [&] {
            const Json answer = ask(agent, "state play");
            const cJSON *state = member(answer, "state");
            const char *text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(state, "problem"));
            problem = text ? text : "";
            return cJSON_IsFalse(cJSON_GetObjectItemCaseSensitive(state, "running")) != 0;
        },
        within_ms);
    if (!over) {
        ask(agent, "stop-play");
        problem = "the scenario takes longer than " + std::to_string(within_ms) + " ms";
    }
    if (!problem.empty())
        throw std::runtime_error{problem};
}

/// A filter of the journal for the calls of a method.
Json calls_of(const char *method, const char *with)
{
    Json filter = object();
    add(filter, "method", text_value(method));
    if (with)
        add(filter, "arguments", parsed(with));
    return filter;
}

} // namespace

korvane_test_agent *korvane_test_start(const korvane_test_options *options)
{
    const korvane_test_options defaults{};
    starting_problem().clear();
    try {
        return new korvane_test_agent_s{options ? *options : defaults};
    } catch (const std::exception &problem) {
        starting_problem() = problem.what();
        return nullptr;
    }
}

void korvane_test_stop(korvane_test_agent *agent)
{
    delete agent;
}

char *korvane_test_ask(korvane_test_agent *agent, const char *command)
{
    return contained(agent, [&] { return ::strdup(text_of(ask(agent, std::string{command})).c_str()); });
}

bool korvane_test_tell(korvane_test_agent *agent, const char *command)
{
    return contained(agent, [&] { return static_cast<bool>(ask(agent, std::string{command})); });
}

bool korvane_test_wait_for_call(korvane_test_agent *agent, const char *method, const char *with, int within_ms)
{
    return contained(agent, [&] {
        const std::string line = "wait " + text_of(calls_of(method, with)) + " " + std::to_string(within_ms) + " " +
                                 std::to_string(agent->next_entry);
        const Json answer = ask(agent, line, within_ms + patience_ms);
        agent->next_entry = number_in(member(answer, "entry"), "seq") + 1;
        return true;
    });
}

bool korvane_test_until(korvane_test_agent *agent, const char *path, const char *value, int within_ms)
{
    return contained(agent, [&] {
        Json wanted = object();
        add(wanted, path, parsed(value));
        Json step = object();
        add(step, "until", std::move(wanted));
        cJSON_AddNumberToObject(step.get(), "within_ms", within_ms);
        play(agent, R"({"steps":[)" + text_of(step) + "]}", within_ms + patience_ms);
        return true;
    });
}

int korvane_test_count_calls(korvane_test_agent *agent, const char *method)
{
    return contained(
        agent, [&] { return number_in(ask(agent, "count " + text_of(calls_of(method, nullptr))).get(), "count"); });
}

bool korvane_test_play(korvane_test_agent *agent, const char *path, int within_ms)
{
    return contained(agent, [&] {
        play(agent, text_of(text_value(path)), within_ms);
        return true;
    });
}

bool korvane_test_run_until(bool (*so)(void *user_data), void *user_data, int within_ms)
{
    return run_until([&] { return so(user_data); }, within_ms);
}

const char *korvane_test_problem(const korvane_test_agent *agent)
{
    return agent ? agent->problem.c_str() : starting_problem().c_str();
}

const char *korvane_test_directory(const korvane_test_agent *agent)
{
    return agent->directory.path().c_str();
}

int korvane_test_pid(const korvane_test_agent *agent)
{
    return agent->process.pid();
}
