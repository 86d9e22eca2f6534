// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cases.hpp"
#include "report.hpp"
#include "tools/ctl/process/child.hpp"
#include "tools/ctl/process/lines.hpp"
#include "tools/ctl/process/loop.hpp"

#include <chrono>
#include <deque>
#include <memory>

namespace kv::ctl {

/// The application, the program of the agent, and the timeout that all cases of a suite share.
struct CaseProgram {
    std::vector<std::string> application;
    std::string agent_program;
    unsigned timeout_s;
};

/// A case in a process of its own, `korvanectl run`, which isolates the application and ends all its processes.
class CaseRun : public std::enable_shared_from_this<CaseRun> {
public:
    using Ended = std::function<void(const CaseResult &result)>;

    /// Starts the case. `ended` runs once, in the main loop.
    static std::shared_ptr<CaseRun> start(Loop &loop, const Case &which, const CaseProgram &program, Ended ended);

    std::string name() const { return which_.name(); }
    /// Asks the process to end; the case then fails.
    void interrupt() const;

private:
    using Clock = std::chrono::steady_clock;

    CaseRun(const Case &which, Ended ended) : which_(which), ended_(std::move(ended)) {}

    void run(Loop &loop, const CaseProgram &program);
    void take_result(const std::string &line);
    void take_output(const std::string &line);
    void end_part();
    void finish();

    Case which_;
    Ended ended_;
    Clock::time_point begin_ = Clock::now();
    std::unique_ptr<Lines> out_{};
    std::unique_ptr<Lines> err_{};
    int parts_ = 3; // that have not ended: the process and its two pipes
    bool has_result_ = false;
    std::string problem_{};
    std::string seed_{};
    std::deque<std::string> journal_{};
    std::deque<std::string> output_{};
    Child child_{};
};

} // namespace kv::ctl
