// SPDX-License-Identifier: Apache-2.0
#include "options.hpp"

#include "agent/control/commands/commands.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include <getopt.h>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t shortest_token = 8;

struct Option {
    const char *name;
    const char *value; // what it takes, NULL for nothing
    void (*take)(Options &, const char *value);
    const char *help;
};

std::string absolute(const char *path)
{
    return std::filesystem::absolute(path).lexically_normal();
}

int port_from(const char *text)
{
    const int port = parse_number(text, "--http");
    if (port < 0 || port > 65535)
        throw std::invalid_argument{"--http wants a port, 0 to 65535, not " + std::string{text}};
    return port;
}

constexpr const char *token_variable = "KORVANE_HTTP_TOKEN";

/// It stands in addresses and headers as it is.
std::string token_from(const char *text, const char *given_by)
{
    std::string token = text;
    if (token.size() < shortest_token ||
        token.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~") !=
            std::string::npos)
        throw std::invalid_argument{std::string{given_by} + " wants " + std::to_string(shortest_token) +
                                    " or more letters, digits or -._~"};
    return token;
}

// A table
// clang-format off
constexpr Option option_table[] = {
    {"agent-version", "X.Y[.Z]", [](Options &o, const char *v) { o.version = Version::parse(v); },
     "the version to be: 1.0 to 2.3 (default 2.3)"},
    {"device-id", "ID", [](Options &o, const char *v) { o.device_id = v; },
     "the device's id (default: this machine's, the same each time)"},
    {"update-ready", nullptr, [](Options &o, const char *) { o.update_ready = true; },
     "says that it waits to be updated"},
    {"refuse", nullptr, [](Options &o, const char *) { o.refuse = true; }, "refuses every application that connects"},
    {"package-dir", "DIR", [](Options &o, const char *v) { o.package_dir = absolute(v); },
     "where package entries are (default: KORVANE_PACKAGE_DIR)"},
    {"runtime-dir", "DIR", [](Options &o, const char *v) { o.runtime_dir = absolute(v); },
     "where ports are (default: KORVANE_RUNTIME_DIR)"},
    {"log", "FILE", [](Options &o, const char *v) { o.log = absolute(v); },
     "appends each request, event and connection to FILE, as lines of JSON"},
    {"verbose", nullptr, [](Options &o, const char *) { o.verbose = true; }, "says the same in words on stderr"},
    {"ca-dir", "DIR", [](Options &o, const char *v) { o.ca_dir = absolute(v); },
     "where the cloud's certificate authority is kept, and made if there is none (default: in memory)"},
    {"commands", nullptr, [](Options &o, const char *) { o.commands = true; },
     "takes commands from standard input; its end stops the agent"},
    {"command-fifo", "PATH", [](Options &o, const char *v) { o.command_fifo = absolute(v); },
     "takes commands from a FIFO, which is made"},
    {"http", "PORT", [](Options &o, const char *v) { o.http_port = port_from(v); },
     "shows the web console and the control API on this port of 127.0.0.1; 0 for any that is free"},
    {"http-token", "TEXT", [](Options &o, const char *v) { o.http_token = token_from(v, "--http-token"); },
     "what whoever uses that port must know (default: KORVANE_HTTP_TOKEN, which no list of processes shows, or\n                            something random)"},
    {"scenario", "FILE", [](Options &o, const char *v) { o.scenarios.push_back(absolute(v)); },
     "plays a scenario, or several in turn, and stops when the applications have gone; the exit\n                            status says how it went"},
    {"exit-with-parent", nullptr, [](Options &o, const char *) { o.exit_with_parent = true; },
     "stops when the program that started it ends"},
    {"install", nullptr, [](Options &o, const char *) { o.action = Options::Action::install; },
     "only enters the agent as a package, to be started on demand"},
    {"uninstall", nullptr, [](Options &o, const char *) { o.action = Options::Action::uninstall; },
     "only removes that entry"},
    {"version", nullptr, [](Options &o, const char *) { o.action = Options::Action::show_version; },
     "says which program this is"},
    {"help", nullptr, [](Options &o, const char *) { o.action = Options::Action::show_help; }, "this text"},
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
    try {
        if (const char *token = std::getenv(token_variable))
            options.http_token = token_from(token, token_variable);
    } catch (const std::invalid_argument &problem) {
        throw UsageError{problem.what()};
    }
    int index = 0;
    opterr = 0;
    optind = 1;
    for (int found = 0; (found = getopt_long(argc, argv, "", forms.data(), &index)) != -1;) {
        if (found != 0)
            throw UsageError{std::string{"'"} + argv[optind - 1] + "' is not understood"};
        try {
            option_table[index].take(options, optarg);
        } catch (const std::invalid_argument &problem) {
            throw UsageError{problem.what()};
        }
    }
    if (optind < argc)
        throw UsageError{std::string{"'"} + argv[optind] + "' is not understood"};
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
    text << "Usage: korvane-agent [OPTION]...\n"
            "The virtual agent: serves applications as an agent on a device does. It enters itself as the installed\n"
            "agent, prints one line when it is ready, and runs until it is stopped (SIGTERM, SIGINT).\n\n"
            "Options:\n";
    for (const Option &known : option_table) {
        std::string left = std::string{"--"} + known.name + (known.value ? std::string{" "} + known.value : "");
        left.resize(std::max<std::size_t>(left.size() + 1, 26), ' ');
        text << "  " << left << known.help << '\n';
    }
    text << '\n'
         << command_help()
         << "\nExamples:\n"
            "  korvane-agent --verbose                       an agent 2.3; watch what applications ask\n"
            "  korvane-agent --agent-version 1.2             an old one\n"
            "  korvane-agent --install                       be started when an application connects\n"
            "  echo 'fault start result -1' > commands.fifo  with --command-fifo commands.fifo\n"
            "\nExit status: 0 stopped, 1 failed, 2 wrong usage, 3 another agent serves the port.\n";
    return text.str();
}

} // namespace kv::virtual_agent
