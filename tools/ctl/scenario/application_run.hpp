// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/output.hpp"
#include "tools/ctl/process/child.hpp"
#include "tools/ctl/process/line_terminal.hpp"
#include "tools/ctl/process/lines.hpp"
#include "tools/ctl/process/loop.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kv::ctl {

inline constexpr unsigned max_timeout_s = 24 * 60 * 60;

/// Choices that apply when a scenario is read.
struct ScenarioChoices {
    std::vector<std::string> settings{}; // of variables: NAME=VALUE
    std::optional<std::uint32_t> seed{}; // of random orders; by default another one in each run

    /// The options that pass them to the agent or to 'korvanectl run'.
    std::vector<std::string> options() const;
};

struct RunOptions {
    std::string scenario{};
    std::string faults{}; // a scenario of commands that is played before
    std::string agent_version{};
    std::string agent_program{};
    ScenarioChoices choices{};
    unsigned timeout_s = 0; // for the whole scenario; 0 for none
    bool quiet = false;     // do not print the journal
};

/// A new directory below the one for temporary files. It is removed with the object.
class TemporaryDirectory {
public:
    /// Throws Failure.
    TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    ~TemporaryDirectory();

    const std::filesystem::path &path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// An application and an agent that plays a scenario, isolated from everything else: they have their own directories and,
/// if dbus-daemon is installed, their own message bus.
class ApplicationRun {
public:
    ApplicationRun(const Output &out, std::vector<std::string> application, RunOptions options);

    /// Runs until the scenario is over or something fails, prints the journal meanwhile and the result at the end, and
    /// ends every process it started. Returns the exit status. Throws UsageError if the agent refuses its command line.
    int run();

private:
    std::map<std::string, std::string> environment() const;
    void start_bus();
    Program agent_command(const std::filesystem::path &journal) const;
    void start_agent();
    void start_application();
    void connect_output(Program &program);
    void watch_lines(Lines &lines, void (ApplicationRun::*take)(const std::string &line));
    void take_journal_line(const std::string &line);
    void take_agent_output(const std::string &line);
    void take_agent_error(const std::string &line);
    void on_application_exit();
    void on_agent_exit();
    void fail(const std::string &problem);
    void end();
    void finish();
    int report() const;

    const Output &out_;
    std::vector<std::string> application_words_;
    RunOptions options_;
    TemporaryDirectory directory_{};
    Loop loop_{};
    std::string bus_address_{};
    std::string problem_{};      // the first thing that failed
    Json seed_{};                // of the random orders, as the agent reports it; null if there are none
    std::string agent_error_{};  // the last error message of the agent
    bool scenario_over_ = false; // passed or failed
    bool ending_ = false;
    bool application_started_ = false;
    bool refused_ = false; // the agent's program refused its command line
    std::unique_ptr<Lines> journal_{};
    std::unique_ptr<Lines> agent_out_{};
    std::unique_ptr<Lines> agent_err_{};
    std::unique_ptr<LineTerminal> application_out_{}; // null if the application has the standard output of this process
    Child bus_{};
    Child agent_{};
    Child application_{};
};

} // namespace kv::ctl
