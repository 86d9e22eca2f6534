// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"
#include "tools/ctl/scenario/scenario_writer.hpp"

#include <CLI/CLI.hpp>

#include <glib.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

/// A file that is there whole or not at all: it gets its name when all is written.
class WholeFile {
public:
    /// Throws Failure at once when it could not be written later.
    explicit WholeFile(std::string path) : path_(std::move(path)), temporary_(path_ + ".part")
    {
        struct stat there {};
        // What is no ordinary file keeps its name.
        if (stat(path_.c_str(), &there) == 0 && !S_ISREG(there.st_mode))
            temporary_ = path_;
        const int flags = O_WRONLY | O_CLOEXEC | (in_place() ? 0 : O_CREAT | O_TRUNC | O_NOFOLLOW);
        fd_ = open(temporary_.c_str(), flags, 0600);
        if (fd_ < 0)
            throw Failure{failed, "cannot write " + path_ + ": " + std::strerror(errno)};
    }
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;
    ~WholeFile()
    {
        if (fd_ < 0)
            return;
        close(fd_);
        if (!in_place())
            unlink(temporary_.c_str());
    }

    void write(const std::string &text)
    {
        for (std::size_t done_bytes = 0; done_bytes < text.size();) {
            const ssize_t written = ::write(fd_, text.data() + done_bytes, text.size() - done_bytes);
            if (written < 0 && errno != EINTR)
                fail();
            done_bytes += written > 0 ? static_cast<std::size_t>(written) : 0;
        }
        const bool safe = in_place() || fsync(fd_) == 0;
        if (!safe || (!in_place() && rename(temporary_.c_str(), path_.c_str()) != 0))
            fail();
        close(std::exchange(fd_, -1));
    }

private:
    bool in_place() const { return temporary_ == path_; }
    [[noreturn]] void fail() const
    {
        throw Failure{failed, "cannot write " + path_ + ": " + std::strerror(errno) + "; nothing was recorded"};
    }

    std::string path_;
    std::string temporary_;
    int fd_ = -1;
};

int record(const Context &context, const std::string &path)
{
    const Output &out = context.out;
    const Agent agent;
    WholeFile file{path};
    const Json now = agent.run("journal", {{"limit", 0}});
    const Json counted = agent.run("journal", {{"since", now["next"]}, {"limit", Agent::entries_kept}});
    const long long begin = counted["next"];

    std::vector<Json> entries;
    std::string why;           // it ended against the wish of whoever records
    std::int64_t over_us = -1; // when the application was told to end: what it calls then is no part of it
    const auto told_to_end = [&over_us] { over_us = over_us < 0 ? g_get_real_time() : over_us; };
    Loop loop;
    {
        Child application;
        const Agent::Stream stream{agent, begin, [&](const Json &entry) { entries.push_back(entry); },
                                   [&](const std::string &reason) {
                                       why = reason;
                                       loop.quit();
                                   }};
        if (!context.program.empty()) {
            Program program{context.program};
            program.in_foreground = true;
            program.out_to_error = out.json; // lines of JSON stay among themselves
            application.start(program, [&] { loop.quit(); });
        } else {
            out.say("recording; Ctrl-C ends it");
        }
        loop.on_signal(SIGINT, [&] { // an application hears it as well, from the terminal
            told_to_end();
            if (!application.runs())
                loop.quit();
        });
        loop.on_signal(SIGTERM, [&] {
            told_to_end();
            application.signal(SIGTERM);
            if (!application.runs())
                loop.quit();
        });
        loop.run();
    }
    if (why.empty()) { // what the stream has not brought yet
        const long long next = entries.empty() ? begin : entries.back()["seq"].get<long long>() + 1;
        const Json rest = agent.run("journal", {{"since", next}, {"limit", Agent::entries_kept}});
        entries.insert(entries.end(), rest["entries"].begin(), rest["entries"].end());
    }
    if (over_us >= 0)
        std::erase_if(entries,
                      [over_us](const Json &entry) { return entry.value("time_us", std::int64_t{0}) > over_us; });
    const Recorded recorded =
        scenario_from(entries, "recorded with agent " + agent.overview()["version"].get<std::string>());
    file.write(recorded.text);

    std::string words = path + ": " + std::to_string(recorded.calls) + " calls expected, " +
                        std::to_string(recorded.events) + " events sent";
    if (recorded.left_out > 0)
        words += ", " + std::to_string(recorded.left_out) + " left out that the agent sends by itself";
    for (const std::string &gap : recorded.gaps)
        words += "\n" + out.in(Output::Colour::yellow, "to be filled in by hand: " + gap);
    out.line(words, {{"file", path},
                     {"calls", recorded.calls},
                     {"events", recorded.events},
                     {"left_out", recorded.left_out},
                     {"fill_in", recorded.gaps}});
    if (!why.empty())
        throw Failure{failed, why + "; " + path + " holds what came before"};
    return done;
}

std::function<int()> set_up_record(CLI::App &app, Context &context)
{
    auto path = std::make_shared<std::string>();
    app.add_option("FILE", *path, "where the scenario is written")->required();
    return [&context, path] { return record(context, *path); };
}

} // namespace

const Verb record_verb{
    "record", "makes a scenario of what happens at the running agent, until Ctrl-C or the application's end",
    "  korvanectl agent start; korvanectl record setup.json -- ./my-app\n"
    "  korvanectl record setup.json      with applications that run anyway\n"
    "Calls become expectations, and what 'phone', 'cloud' and 'emit' send becomes events with their values. The\n"
    "agent's journal holds no secrets: what must be filled in by hand is told, with its line. What differs from run to "
    "run,\n"
    "such as times, is to be taken out of the expectations.",
    set_up_record, true};

} // namespace kv::ctl
