// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/trace/trace_reader.hpp"

#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

int read_file(const Output &out, const std::string &path)
{
    TraceReader reader{[&out](const std::string &words, const Json &facts) { out.line(words, facts); }};
    std::ifstream file{path, std::ios::binary};
    char bytes[64 * 1024];
    if (!file)
        throw Failure{failed, "cannot read " + path + ": " + std::strerror(errno)};
    while (file.read(bytes, sizeof bytes) || file.gcount() > 0)
        reader.take(bytes, static_cast<std::size_t>(file.gcount()));
    if (reader.cut())
        throw Failure{failed, path + " ends in the middle of record " + std::to_string(reader.records() + 1)};
    return done;
}

int trace(const Context &context)
{
    const Output &out = context.out;
    TraceReader reader{[&out](const std::string &words, const Json &facts) { out.line(words, facts); }};
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw Failure{failed, std::string{"no socket: "} + std::strerror(errno)};
    Loop loop;
    Child child;
    // Both ends must have come: that of the program, and that of what it has written.
    bool ended = false;
    bool read_all = false;
    const auto quit_if_over = [&] {
        if (ended && read_all)
            loop.quit();
    };
    Program program{context.program};
    program.environment["KORVANE_TRACE"] = "fd:" + std::to_string(ends[1]);
    program.passed = ends[1];
    program.in_foreground = true;
    program.out_to_error = out.json; // lines of JSON stay among themselves
    child.start(program, [&] {
        ended = true;
        // Something that the program has left behind may hold the other end.
        loop.after_ms(500, [&] { loop.quit(); });
        quit_if_over();
    });
    close(ends[1]);
    loop.on_readable(ends[0], [&] {
        char bytes[64 * 1024];
        const ssize_t got = read(ends[0], bytes, sizeof bytes);
        if (got > 0) {
            reader.take(bytes, static_cast<std::size_t>(got));
            return true;
        }
        read_all = true;
        quit_if_over();
        return false;
    });
    loop.on_signal(SIGINT, [] {}); // the program hears it as well, from the terminal
    loop.on_signal(SIGTERM, [&] { child.signal(SIGTERM); });
    loop.run();
    close(ends[0]);
    if (reader.records() == 0)
        std::fprintf(stderr, "korvanectl: nothing crossed a port; does %s use Korvane's host platform?\n",
                     context.program[0].c_str());
    if (child.status() == 0)
        return done;
    throw Failure{failed, context.program[0] + " ended with " + shown_status(child.status())};
}

std::function<int()> set_up_trace(CLI::App &app, Context &context)
{
    auto path = std::make_shared<std::string>();
    app.add_option("--read", *path, "shows a trace that an application wrote with KORVANE_TRACE=FILE")
        ->type_name("FILE");
    return [&context, path] {
        if (path->empty() == context.program.empty())
            throw UsageError{"trace takes a program behind '--', or --read FILE"};
        return path->empty() ? trace(context) : read_file(context.out, *path);
    };
}

} // namespace

const Verb trace_verb{
    "trace", "runs an application and shows what crosses its ports, decoded, with any agent",
    "  korvanectl trace -- ./my-app --its-option\n"
    "  korvanectl trace --json -- ./my-app | jq 'select(.request)'\n"
    "  KORVANE_TRACE=/tmp/app.trace ./my-app; korvanectl trace --read /tmp/app.trace\n"
    "-> is a request, <- its reply with the microseconds in between, <= an event. Secrets are masked here, but\n"
    "not in a file that KORVANE_TRACE names.",
    set_up_trace, true};

} // namespace kv::ctl
