// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"
#include "tools/ctl/process/loop.hpp"
#include "tools/ctl/trace/trace_reader.hpp"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>

#include <sys/socket.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr unsigned rest_timeout_ms = 500; // after the application's end, if a child of it keeps the trace open

TraceReader::OnParcel printer(const Output &out)
{
    return [&out](const std::string &text, const Json &object) { out.line(text, object); };
}

int print_file(const Output &out, const std::string &path)
{
    TraceReader reader{printer(out)};
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

/// Runs an application whose host platform writes the trace to a socket.
class TracedRun {
public:
    explicit TracedRun(const Output &out) : out_(out), reader_(printer(out)) {}
    TracedRun(const TracedRun &) = delete;
    TracedRun &operator=(const TracedRun &) = delete;
    ~TracedRun()
    {
        if (fd_ >= 0)
            close(fd_);
    }

    int run(const std::vector<std::string> &words)
    {
        start(words);
        loop_.on_readable(fd_, [this] { return read_some(); });
        loop_.on_signal(SIGINT, [] {}); // the terminal sends it to the application too, which decides
        loop_.on_signal(SIGTERM, [this] { application_.signal(SIGTERM); });
        loop_.run();
        if (reader_.records() == 0)
            std::fprintf(stderr, "korvanectl: nothing crossed a port; check that %s uses Korvane's host platform\n",
                         words[0].c_str());
        if (application_.status() != 0)
            throw Failure{failed, words[0] + " ended with " + status_text(application_.status())};
        return done;
    }

private:
    void start(const std::vector<std::string> &words)
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw Failure{failed, std::string{"cannot create a socket: "} + std::strerror(errno)};
        fd_ = ends[0];
        Program program{words};
        program.environment["KORVANE_TRACE"] = "fd:" + std::to_string(ends[1]);
        program.inherited = ends[1];
        program.in_foreground = true;
        program.out_to_error = out_.json; // stdout is for JSON only
        application_.start(program, [this] { on_exit(); });
        close(ends[1]);
    }

    void on_exit()
    {
        ended_ = true;
        loop_.after_ms(rest_timeout_ms, [this] { loop_.quit(); });
        quit_if_complete();
    }

    /// Returns false at the end of the trace.
    bool read_some()
    {
        char bytes[64 * 1024];
        const ssize_t size = read(fd_, bytes, sizeof bytes);
        if (size > 0) {
            reader_.take(bytes, static_cast<std::size_t>(size));
            return true;
        }
        at_end_ = true;
        quit_if_complete();
        return false;
    }

    void quit_if_complete()
    {
        if (ended_ && at_end_)
            loop_.quit();
    }

    const Output &out_;
    TraceReader reader_;
    Loop loop_{};
    Child application_{};
    int fd_ = -1;
    bool ended_ = false;  // the application
    bool at_end_ = false; // the trace
};

std::function<int()> set_up_trace(CLI::App &app, Context &context)
{
    auto path = std::make_shared<std::string>();
    app.add_option("--read", *path, "Print a trace that an application wrote with KORVANE_TRACE=FILE")
        ->type_name("FILE");
    return [&context, path] {
        if (path->empty() == context.program.empty())
            throw UsageError{"give either '-- APPLICATION' or '--read FILE'"};
        return path->empty() ? TracedRun{context.out}.run(context.program) : print_file(context.out, *path);
    };
}

} // namespace

const Verb trace_verb{
    .name = "trace",
    .help = "Run an application and print the requests, replies and events that cross its ports",
    .usage = "(-- APPLICATION [ARGUMENT]... | --read FILE)",
    .examples =
        "  korvanectl trace -- ./my-app --its-option\n"
        "  korvanectl trace --json -- ./my-app | jq 'select(.request)'\n"
        "  KORVANE_TRACE=/tmp/app.trace ./my-app; korvanectl trace --read /tmp/app.trace\n"
        "-> is a request, <- its reply with the microseconds in between, <= an event. This works with any agent.\n"
        "Secrets are masked here, but not in a file that KORVANE_TRACE names.",
    .set_up = set_up_trace,
    .takes_program = true,
};

} // namespace kv::ctl
