// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"
#include "tools/ctl/process/loop.hpp"
#include "tools/ctl/trace/pcapng.hpp"
#include "tools/ctl/trace/trace_lines.hpp"
#include "tools/ctl/trace/trace_records.hpp"

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

constexpr const char *standard_output = "-";

struct TraceOptions {
    std::string read{};   // the trace that an application wrote; "" to run one
    std::string pcapng{}; // the file to write; "" to print
};

/// The output of a trace: lines, or a file for Wireshark.
class TraceOutput {
public:
    TraceOutput(const Output &out, const std::string &pcapng) : out_(out), path_(pcapng)
    {
        if (!pcapng.empty())
            file_ = std::make_unique<Pcapng>(pcapng);
    }

    void take(const rpc_port_trace_record_t &record, const char *payload)
    {
        if (file_)
            file_->take(record, payload);
        else
            lines_.take(record, payload);
    }

    void end(int records)
    {
        if (!file_)
            return;
        file_->close();
        if (path_ != standard_output)
            out_.line(path_ + ": " + std::to_string(records) + " parcels", {{"file", path_}, {"parcels", records}});
    }

private:
    const Output &out_;
    std::string path_;
    std::unique_ptr<Pcapng> file_{};
    TraceLines lines_{[this](const std::string &text, const Json &object) { out_.line(text, object); }};
};

TraceRecords records_for(TraceOutput &output)
{
    return TraceRecords{
        [&output](const rpc_port_trace_record_t &record, const char *payload) { output.take(record, payload); }};
}

int read_file(const Output &out, const std::string &path, const std::string &pcapng)
{
    std::ifstream file{path, std::ios::binary};
    char bytes[64 * 1024];
    if (!file)
        throw Failure{failed, "cannot read " + path + ": " + std::strerror(errno)};
    TraceOutput output{out, pcapng};
    TraceRecords records = records_for(output);
    while (file.read(bytes, sizeof bytes) || file.gcount() > 0)
        records.take(bytes, static_cast<std::size_t>(file.gcount()));
    if (file.bad())
        throw Failure{failed, "cannot read " + path + ": " + std::strerror(errno)};
    output.end(records.count());
    if (records.cut())
        throw Failure{failed, path + " ends in the middle of record " + std::to_string(records.count() + 1)};
    return done;
}

/// Runs an application whose host platform writes the trace to a socket.
class TracedRun {
public:
    TracedRun(const Output &out, const std::string &pcapng)
        : out_(out), keeps_stdout_(out.json || pcapng == standard_output), output_(out, pcapng)
    {
    }
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
        output_.end(records_.count());
        if (records_.count() == 0)
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
        program.out_to_error = keeps_stdout_; // for JSON or the file only
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
            records_.take(bytes, static_cast<std::size_t>(size));
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
    bool keeps_stdout_; // the application's standard output goes to stderr
    TraceOutput output_;
    TraceRecords records_ = records_for(output_);
    Loop loop_{};
    Child application_{};
    int fd_ = -1;
    bool ended_ = false;  // the application
    bool at_end_ = false; // the trace
};

std::function<int()> set_up_trace(CLI::App &app, Context &context)
{
    auto options = std::make_shared<TraceOptions>();
    app.add_option("--read", options->read, "Read a trace that an application wrote with KORVANE_TRACE=FILE")
        ->type_name("FILE");
    app.add_option("--pcapng", options->pcapng, "Write the trace for Wireshark, secrets included; - for stdout")
        ->type_name("FILE");
    return [&context, options] {
        if (options->read.empty() == context.program.empty())
            throw UsageError{"give either '-- APPLICATION' or '--read FILE'"};
        return options->read.empty() ? TracedRun{context.out, options->pcapng}.run(context.program)
                                     : read_file(context.out, options->read, options->pcapng);
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
        "  korvanectl trace --pcapng app.pcapng -- ./my-app; wireshark -X lua_script:korvane.lua app.pcapng\n"
        "-> is a request, <- its reply with the microseconds in between, <= an event. This works with any agent.\n"
        "Secrets are masked here, but not in a file that KORVANE_TRACE or --pcapng names. The dissector korvane.lua "
        "is\n"
        "installed in share/korvane; it masks secrets too, unless its preference show_secrets is set.",
    .set_up = set_up_trace,
    .takes_program = true,
};

} // namespace kv::ctl
