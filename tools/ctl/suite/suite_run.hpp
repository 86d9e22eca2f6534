// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "case_run.hpp"

namespace kv::ctl {

struct SuiteOptions {
    unsigned jobs = 1;       // cases that run at the same time
    bool until_fail = false; // stop at the first failure
    bool endless = false;    // begin again after the last case
};

/// Runs cases in parallel and prints the result of each.
class SuiteRun {
public:
    SuiteRun(Printer &printer, std::vector<Case> cases, CaseProgram program, SuiteOptions options);

    /// Runs until every case has ended, the first one failed (`until_fail`) or a signal interrupts it.
    SuiteResult run();

private:
    void fill();
    bool start_next();
    void on_end(const CaseRun *run, const CaseResult &result);
    void stop();
    void show_progress() const;

    Printer &printer_;
    std::vector<Case> cases_;
    CaseProgram program_;
    SuiteOptions options_;
    Loop loop_{};
    std::size_t next_ = 0;
    unsigned turn_ = 1;
    bool stopped_ = false;
    std::vector<std::shared_ptr<CaseRun>> running_{};
    SuiteResult result_{};
};

} // namespace kv::ctl
