// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <korvane.h>

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

/// The programs of the reliability run. Each is bounded in time, prints its figures in one line, and has a short and a long
/// form.
namespace kv::sturdy {

using Clock = std::chrono::steady_clock;

enum class Form { brief, extended };

/// What a program found. `line` are the figures; every entry of `failures` fails the run.
struct Outcome {
    std::string line;
    std::vector<std::string> failures;
};

Outcome cut_links(Form form);
Outcome restart_agents(Form form);
Outcome supervise(Form form);
Outcome meet_deadlines(Form form);
Outcome soak(Form form);

/// A step that takes longer was ended by a timeout of 10 s, or not at all. No working step comes near it, however slow the
/// machine is.
inline constexpr std::chrono::milliseconds hang{5000};

/// Times of one kind, for their median and their extremes.
class Times {
public:
    void add(Clock::duration time) { times_.push_back(std::chrono::duration<double, std::milli>(time).count()); }
    std::size_t count() const { return times_.size(); }
    /// Milliseconds that this part of the times does not exceed; 0 without times.
    double quantile(double part) const;

private:
    std::vector<double> times_;
};

std::string format(const char *text, ...) __attribute__((format(printf, 1, 2)));

#ifdef __SANITIZE_ADDRESS__
inline constexpr bool memory_is_returned = false; // the sanitizer keeps released memory for a while
#else
inline constexpr bool memory_is_returned = true;
#endif

/// A call that asks the agent. Returns its result.
int call_agent(korvane_h handle);

/// The resident memory of a process in KiB.
long resident_kib(pid_t pid);
int descriptors_of(pid_t pid);

} // namespace kv::sturdy
