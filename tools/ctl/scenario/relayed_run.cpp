// SPDX-License-Identifier: Apache-2.0
#include "relayed_run.hpp"

#include <csignal>
#include <cstdio>

namespace kv::ctl {

namespace {

constexpr unsigned rest_timeout_ms = 500; // after the application's end, if a child of it keeps a link open

} // namespace

RelayedRun::RelayedRun()
    : traffic_([](const std::string &problem) { std::fprintf(stderr, "korvanectl: warning: %s\n", problem.c_str()); })
{
}

void RelayedRun::run(const Program &application)
{
    relay_.require_agent();
    Program program = application;
    program.environment["KORVANE_RUNTIME_DIR"] = directory_.path();
    application_.start(program, [this] { end_when_idle(); });
    loop_.on_signal(SIGINT, [this] { traffic_.stop(); }); // the terminal sends it to the application too
    loop_.on_signal(SIGTERM, [this] {
        traffic_.stop(); // first, because the application may call the agent before the signal function returns
        application_.signal(SIGTERM);
    });
    loop_.run();
}

/// Bytes that the application sent before its end may still be in its links.
void RelayedRun::end_when_idle()
{
    if (!relay_.has_links())
        return loop_.quit();
    relay_.on_idle([this] { loop_.quit(); });
    loop_.after_ms(rest_timeout_ms, [this] { loop_.quit(); });
}

} // namespace kv::ctl
