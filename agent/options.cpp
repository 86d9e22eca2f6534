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

constexpr std::size_t min_token = 8;

struct Option {
    const char *name;
    const char *value; // the name of its value; null if it takes none
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

/// A token is part of URLs and headers, so only characters that need no quoting are allowed.
std::string token_from(const char *text, const char *given_by)
{
    std::string token = text;
    if (token.size() < min_token ||
        token.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~") !=
            std::string::npos)
        throw std::invalid_argument{std::string{given_by} + " wants " + std::to_string(min_token) +
                                    " or more letters, digits or -._~"};
    return token;
}

// A table
// clang-format off
constexpr Option option_table[] = {
    {"agent-version", "X.Y[.Z]", [](Options &o, const char *v) { o.version = Version::parse(v); },
     "the emulated version: 1.0 to 2.3 (default 2.3)"},
    {"device-id", "ID", [](Options &o, const char *v) { o.device_id = v; },
     "the device's id (default: derived from the id of this machine)"},
    {"update-ready", nullptr, [](Options &o, const char *) { o.update_ready = true; },
     "reports that an update is waiting"},
    {"refuse", nullptr, [](Options &o, const char *) { o.refuse = true; }, "refuses every application that connects"},
    {"package-dir", "DIR", [](Options &o, const char *v) { o.package_dir = absolute(v); },
     "directory of the package entries (default: KORVANE_PACKAGE_DIR)"},
    {"runtime-dir", "DIR", [](Options &o, const char *v) { o.runtime_dir = absolute(v); },
     "directory of the sockets (default: KORVANE_RUNTIME_DIR)"},
    {"log", "FILE", [](Options &o, const char *v) { o.log = absolute(v); },
     "appends each request, event and connection to FILE, as lines of JSON"},
    {"verbose", nullptr, [](Options &o, const char *) { o.verbose = true; }, "prints the same in words on stderr"},
    {"ca-dir", "DIR", [](Options &o, const char *v) { o.ca_dir = absolute(v); },
     "directory of the cloud's certificate authority, which is created if missing (default: in memory)"},
    {"commands", nullptr, [](Options &o, const char *) { o.commands = true; },
     "reads commands from standard input; its end stops the agent"},
    {"command-fifo", "PATH", [](Options &o, const char *v) { o.command_fifo = absolute(v); },
     "reads commands from a FIFO, which is created if missing"},
    {"http", "PORT", [](Options &o, const char *v) { o.http_port = port_from(v); },
     "serves the web console and the control API on this port of 127.0.0.1; 0 for any free port"},
    {"http-token", "TEXT", [](Options &o, const char *v) { o.http_token = token_from(v, "--http-token"); },
     "access token for the HTTP port (default: KORVANE_HTTP_TOKEN, which process lists do not show, or a\n                            random one)"},
    {"scenario", "FILE", [](Options &o, const char *v) { o.scenarios.push_back(absolute(v)); },
     "plays a scenario, or several in turn, and stops once all applications have disconnected; the\n                            exit status is 0 if all steps succeeded"},
    {"exit-with-parent", nullptr, [](Options &o, const char *) { o.exit_with_parent = true; },
     "stops when the program that started it ends"},
    {"install", nullptr, [](Options &o, const char *) { o.action = Options::Action::install; },
     "writes the package entry, so that the agent is started on demand, and exits"},
    {"uninstall", nullptr, [](Options &o, const char *) { o.action = Options::Action::uninstall; },
     "removes the package entry and exits"},
    {"version", nullptr, [](Options &o, const char *) { o.action = Options::Action::show_version; },
     "prints the version of this program"},
    {"help", nullptr, [](Options &o, const char *) { o.action = Options::Action::show_help; }, "prints this text"},
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
            "The virtual agent: serves applications as an agent on a device does. It writes its package entry, prints\n"
            "one line when it is ready, and runs until SIGTERM or SIGINT.\n\n"
            "Options:\n";
    for (const Option &known : option_table) {
        std::string left = std::string{"--"} + known.name + (known.value ? std::string{" "} + known.value : "");
        left.resize(std::max<std::size_t>(left.size() + 1, 26), ' ');
        text << "  " << left << known.help << '\n';
    }
    text << '\n'
         << command_help()
         << "\nExamples:\n"
            "  korvane-agent --verbose                       an agent 2.3; shows the requests of applications\n"
            "  korvane-agent --agent-version 1.2             an old one\n"
            "  korvane-agent --install                       start when an application connects\n"
            "  echo 'fault start result -1' > commands.fifo  with --command-fifo commands.fifo\n"
            "\nExit status: 0 stopped, 1 failed, 2 wrong usage, 3 another agent serves the port.\n";
    return text.str();
}

} // namespace kv::virtual_agent
