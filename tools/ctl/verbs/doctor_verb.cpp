// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/doctor/checks.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

#include <cstdlib>

namespace kv::ctl {

namespace {

struct Check {
    const char *name;
    Finding (*run)();
};

constexpr Check checks[] = {
    {"library", check_library},
    {"program", check_program},
    {"package", check_package},
    {"executable", check_executable},
    {"runtime directory", check_runtime_directory},
    {"port", check_port},
    {"locks", check_locks},
    {"bus", check_bus},
};

Finding result_of(const Check &check)
{
    try {
        return check.run();
    } catch (const Failure &problem) {
        return {problem.what(), "set KORVANE_RUNTIME_DIR and KORVANE_PACKAGE_DIR to short absolute paths"};
    }
}

void print_finding(const Output &out, const char *check, const Finding &finding)
{
    const bool ok = finding.remedy.empty();
    Json object{{"check", check}, {"ok", ok}, {"found", finding.text}};
    std::string text = ok ? out.in(Output::Colour::green, "ok    ") : out.in(Output::Colour::red, "WRONG ");
    text += std::string{check} + ": " + finding.text;
    if (!ok) {
        object["remedy"] = finding.remedy;
        text += "\n      -> " + out.in(Output::Colour::bold, finding.remedy);
    }
    out.line(text, object);
}

int run_doctor(const Output &out)
{
    setenv("KORVANE_LOG", "off", false); // the findings describe what the log would
    bool all_ok = true;
    for (const Check &check : checks) {
        const Finding finding = result_of(check);
        print_finding(out, check.name, finding);
        all_ok = all_ok && finding.remedy.empty();
    }
    return all_ok ? done : failed;
}

std::function<int()> set_up_doctor(CLI::App &, Context &context)
{
    return [&context] { return run_doctor(context.out); };
}

} // namespace

const Verb doctor_verb{
    .name = "doctor",
    .help = "Check whether applications can reach an agent, and print what to do if not",
    .usage = "",
    .examples = "  korvanectl doctor\n"
                "  korvanectl doctor --json | jq -r 'select(.ok | not) | .remedy'",
    .set_up = set_up_doctor,
};

} // namespace kv::ctl
