// SPDX-License-Identifier: Apache-2.0
#include "case_run.hpp"

#include "tools/ctl/agent/entry_text.hpp"

#include <csignal>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr std::size_t max_entries = 12;
constexpr std::size_t max_output_lines = 20;
constexpr unsigned last_output_ms = 1000; // for the pipes to end after the process has

void keep(std::deque<std::string> &lines, const std::string &line, std::size_t max)
{
    lines.push_back(line);
    if (lines.size() > max)
        lines.pop_front();
}

std::vector<std::string> command_for(const Case &which, const CaseProgram &program)
{
    std::vector<std::string> words{std::filesystem::read_symlink("/proc/self/exe"),
                                   "run",
                                   "--json",
                                   "--agent-version",
                                   which.version,
                                   "--agent-program",
                                   program.agent_program};
    if (program.timeout_s > 0)
        words.insert(words.end(), {"--timeout", std::to_string(program.timeout_s)});
    for (std::string &word : which.choices.options())
        words.push_back(std::move(word));
    if (!which.faults.empty())
        words.insert(words.end(), {"--faults", which.faults});
    words.insert(words.end(), {which.file, "--"});
    words.insert(words.end(), program.application.begin(), program.application.end());
    return words;
}

} // namespace

std::shared_ptr<CaseRun> CaseRun::start(Loop &loop, const Case &which, const CaseProgram &program, Ended ended)
{
    std::shared_ptr<CaseRun> run{new CaseRun{which, std::move(ended)}};
    run->run(loop, program);
    return run;
}

/// Each callback shares the object, which thus lives until its pipes have ended.
void CaseRun::run(Loop &loop, const CaseProgram &program)
{
    const Pipe out;
    const Pipe err;
    for (const int end : {out.write, err.write}) // the process, and the application, expect to wait for their reader
        fcntl(end, F_SETFL, 0);
    out_ = std::make_unique<Lines>(out.read);
    err_ = std::make_unique<Lines>(err.read);
    const auto self = shared_from_this();
    const auto watch = [&loop, self](Lines &lines, void (CaseRun::*take)(const std::string &)) {
        loop.on_readable(lines.fd(), [self, &lines, take] {
            if (lines.read_some([&](const std::string &line) { ((*self).*take)(line); }))
                return true;
            self->end_part();
            return false;
        });
    };
    try {
        child_.start({command_for(which_, program), {}, out.write, err.write}, [weak = weak_from_this(), &loop] {
            const auto run = weak.lock();
            if (!run)
                return;
            run->end_part();
            // A pipe that has not ended keeps the object. Otherwise the timer would keep the pipes of many short cases.
            loop.after_ms(last_output_ms, [weak] {
                if (const auto unfinished = weak.lock())
                    unfinished->finish();
            });
        });
    } catch (...) {
        close(out.write);
        close(err.write);
        throw;
    }
    close(out.write);
    close(err.write);
    watch(*out_, &CaseRun::take_result);
    watch(*err_, &CaseRun::take_output);
}

void CaseRun::interrupt() const
{
    child_.signal(SIGTERM);
}

void CaseRun::take_result(const std::string &line)
{
    const Json object = parsed(line);
    if (object.contains("played")) {
        has_result_ = true;
        problem_ = text_in(object, "problem");
        seed_ = text_in(object, "seed");
    } else if (object.is_object()) {
        keep(journal_, entry_text(object), max_entries);
    }
}

void CaseRun::take_output(const std::string &line)
{
    keep(output_, line, max_output_lines);
}

void CaseRun::end_part()
{
    if (--parts_ == 0)
        finish();
}

void CaseRun::finish()
{
    const Ended ended = std::exchange(ended_, nullptr);
    if (!ended)
        return;
    if (!has_result_)
        problem_ = "the run ended without a result, with " + status_text(child_.status());
    const std::chrono::duration<double> seconds = Clock::now() - begin_;
    ended({which_.scenario,
           which_.variant,
           seconds.count(),
           problem_,
           {journal_.begin(), journal_.end()},
           {output_.begin(), output_.end()},
           seed_});
}

} // namespace kv::ctl
