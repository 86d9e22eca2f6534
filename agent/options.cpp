// SPDX-License-Identifier: Apache-2.0
#include "options.hpp"

#include "agent/control/commands/commands.hpp"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

#include <getopt.h>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t min_token_length = 8;

struct Option {
    const char *name;
    const char *value; // the placeholder of its value; null if it has none
    void (*apply)(Options &, const char *value);
    const char *help;
};

std::string absolute(const char *path, const char *given_by)
{
    if (*path == '\0')
        throw std::invalid_argument{std::string{given_by} + " needs a path, which must not be empty"};
    return std::filesystem::absolute(path).lexically_normal();
}

int port_from(const char *text)
{
    const int port = parse_number(text, "--http");
    if (port < 0 || port > 65535)
        throw std::invalid_argument{"--http must be a port from 0 to 65535, not " + std::string{text}};
    return port;
}

std::uint32_t seed_from(const char *text)
{
    std::uint32_t seed = 0;
    const char *end = text + std::strlen(text);
    if (const auto [stop, error] = std::from_chars(text, end, seed); error != std::errc{} || stop != end)
        throw std::invalid_argument{"--seed must be a number from 0 to 4294967295, not '" + std::string{text} + "'"};
    return seed;
}

/// Takes NAME=VALUE apart. The message does not repeat the value, which may be a secret.
std::pair<std::string, std::string> setting_from(const std::string &text)
{
    const std::size_t equals = text.find('=');
    if (equals == 0 || equals == std::string::npos)
        throw std::invalid_argument{"--set must be the name of a variable, '=' and a value"};
    return {text.substr(0, equals), text.substr(equals + 1)};
}

constexpr const char *token_variable = "KORVANE_HTTP_TOKEN";

/// Accepts only characters that need no escaping in addresses and headers.
std::string token_from(const char *text, const char *given_by)
{
    std::string token = text;
    if (token.size() < min_token_length ||
        token.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~") !=
            std::string::npos)
        throw std::invalid_argument{std::string{given_by} + " must be at least " + std::to_string(min_token_length) +
                                    " letters, digits or -._~"};
    return token;
}

/// The variable may be set for every program of a user, so it is checked only where it is needed.
void take_token_from_environment(Options &options)
{
    const char *token = std::getenv(token_variable);
    if (!token || *token == '\0' || !options.http_port || !options.http_token.empty())
        return;
    try {
        options.http_token = token_from(token, token_variable);
    } catch (const std::invalid_argument &problem) {
        throw UsageError{problem.what()};
    }
}

// A table
// clang-format off
constexpr Option option_table[] = {
    {"agent-version", "X.Y[.Z]", [](Options &o, const char *v) { o.version = Version::parse(v); },
     "version of the agent, 1.0 to 2.3 (default 2.3)"},
    {"device-id", "ID", [](Options &o, const char *v) { o.device_id = v; },
     "id of the device (default: derived from the id of this machine)"},
    {"update-ready", nullptr, [](Options &o, const char *) { o.update_ready = true; },
     "report that an update is ready to be installed"},
    {"refuse", nullptr, [](Options &o, const char *) { o.refuse = true; }, "refuse every application that connects"},
    {"package-dir", "DIR", [](Options &o, const char *v) { o.package_dir = absolute(v, "--package-dir"); },
     "directory of the package entries (default: KORVANE_PACKAGE_DIR)"},
    {"runtime-dir", "DIR", [](Options &o, const char *v) { o.runtime_dir = absolute(v, "--runtime-dir"); },
     "directory of the ports (default: KORVANE_RUNTIME_DIR)"},
    {"log", "FILE", [](Options &o, const char *v) { o.log = absolute(v, "--log"); },
     "append each request, event and connection to FILE, one JSON object per line"},
    {"verbose", nullptr, [](Options &o, const char *) { o.verbose = true; }, "print the same for people on standard error"},
    {"ca-dir", "DIR", [](Options &o, const char *v) { o.ca_dir = absolute(v, "--ca-dir"); },
     "directory of the cloud's certificate authority, created if missing (default: in memory)"},
    {"commands", nullptr, [](Options &o, const char *) { o.commands = true; },
     "read commands from standard input; stop at its end"},
    {"command-fifo", "PATH", [](Options &o, const char *v) { o.command_fifo = absolute(v, "--command-fifo"); },
     "read commands from a FIFO, created if missing"},
    {"http", "PORT", [](Options &o, const char *v) { o.http_port = port_from(v); },
     "serve the web console and the control API on this port of 127.0.0.1; 0 for any free port"},
    {"http-token", "TEXT", [](Options &o, const char *v) { o.http_token = token_from(v, "--http-token"); },
     "access token for the HTTP port (default: KORVANE_HTTP_TOKEN, which process lists do not show, or\n                          a random one)"},
    {"scenario", "FILE", [](Options &o, const char *v) { o.scenarios.push_back(absolute(v, "--scenario")); },
     "run a scenario, or several in order, then stop when the last application has disconnected;\n                          exit status 1 if it failed"},
    {"set", "NAME=VALUE", [](Options &o, const char *v) { auto [name, value] = setting_from(v); o.scenario_values.insert_or_assign(name, value); },
     "set a variable of the scenarios; may be repeated"},
    {"seed", "N", [](Options &o, const char *v) { o.seed = seed_from(v); },
     "seed of the random orders in scenarios (default: another one each time; a failure names it)"},
    {"check-scenario", "FILE", [](Options &o, const char *v) { o.action = Options::Action::check_scenarios; o.scenarios.push_back(absolute(v, "--check-scenario")); },
     "check a scenario, or several, print the versions for which each is meant, and exit"},
    {"check-snapshot", "FILE", [](Options &o, const char *v) { o.action = Options::Action::check_snapshots; o.scenarios.push_back(absolute(v, "--check-snapshot")); },
     "check the file of a snapshot, or several, and exit"},
    {"check-personality", "FILE", [](Options &o, const char *v) { o.action = Options::Action::check_personalities; o.scenarios.push_back(absolute(v, "--check-personality")); },
     "check the file of a personality, or several, and exit"},
    {"exit-with-parent", nullptr, [](Options &o, const char *) { o.exit_with_parent = true; },
     "stop when the program that started the agent ends"},
    {"install", nullptr, [](Options &o, const char *) { o.action = Options::Action::install; },
     "install the package entry, so that the agent is started on demand, and exit"},
    {"uninstall", nullptr, [](Options &o, const char *) { o.action = Options::Action::uninstall; },
     "remove the package entry and exit"},
    {"version", nullptr, [](Options &o, const char *) { o.action = Options::Action::show_version; },
     "print the version of this program and exit"},
    {"help", nullptr, [](Options &o, const char *) { o.action = Options::Action::show_help; }, "print this text and exit"},
};
// clang-format on

} // namespace

Options Options::parse(int argc, char **argv)
{
    std::vector<option> forms;
    for (const Option &known : option_table)
        forms.push_back({known.name, known.value ? required_argument : no_argument, nullptr, 0});
    forms.push_back({});

    Options options;
    int index = 0;
    opterr = 0;
    optind = 1;
    for (;;) {
        const int read = optind;
        // '+' keeps the order of the arguments, so this call reads the next one.
        const int found = getopt_long(argc, argv, "+", forms.data(), &index);
        if (found == -1)
            break;
        if (found != 0)
            throw UsageError{std::string{"'"} + argv[read] + "' is not an option, or its value is missing"};
        try {
            option_table[index].apply(options, optarg);
        } catch (const std::invalid_argument &problem) {
            throw UsageError{problem.what()};
        }
    }
    if (optind < argc)
        throw UsageError{std::string{"unexpected argument '"} + argv[optind] + "'"};
    take_token_from_environment(options);
    return options;
}

std::vector<std::string> Options::for_start_on_demand() const
{
    std::vector<std::string> arguments;
    const auto with = [&](const char *name, const std::string &value) {
        if (!value.empty())
            arguments.insert(arguments.end(), {name, value});
    };
    with("--device-id", device_id);
    with("--package-dir", package_dir);
    with("--runtime-dir", runtime_dir);
    with("--log", log);
    with("--ca-dir", ca_dir);
    if (update_ready)
        arguments.emplace_back("--update-ready");
    if (refuse)
        arguments.emplace_back("--refuse");
    return arguments;
}

std::string usage()
{
    std::ostringstream text;
    text
        << "Usage: korvane-agent [OPTION]...\n"
           "Run a virtual agent, which serves applications as the agent of a device does. Installs its package entry,\n"
           "prints a line when it is ready, and runs until SIGTERM, SIGINT or the command 'quit' stops it. If "
           "standard\n"
           "output is not a terminal, each line is a JSON object.\n\n"
           "Options:\n";
    for (const Option &known : option_table) {
        std::string left = std::string{"--"} + known.name + (known.value ? std::string{" "} + known.value : "");
        left.resize(std::max<std::size_t>(left.size() + 1, 26), ' ');
        text << "  " << left << known.help << '\n';
    }
    text << '\n'
         << command_help()
         << "\nExamples:\n"
            "  korvane-agent --verbose                       agent 2.3; print each request\n"
            "  korvane-agent --agent-version 1.2             an older version\n"
            "  korvane-agent --install                       start when an application connects\n"
            "  echo 'fault start result -1' > commands.fifo  for --command-fifo commands.fifo\n"
            "\nExit status: 0 stopped, 1 failed, 2 wrong usage, 3 another agent serves the port.\n";
    return text.str();
}

} // namespace kv::virtual_agent
