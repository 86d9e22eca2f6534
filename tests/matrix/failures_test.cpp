// SPDX-License-Identifier: Apache-2.0
#include "matrix_test.hpp"

#include <map>

namespace kv::test::matrix {
namespace {

constexpr unsigned too_many = 200; // more steps than any call has

/// Makes the n-th step of a kind fail, once.
struct Injector {
    void (*arm)(unsigned nth);
    void (*disarm)();
    std::string (*injected)(); // returns the name of the failed step; empty if none failed
};

const Injector allocations = {allocs::fail_nth, allocs::stop_failing,
                              [] { return std::string(allocs::failed() ? "an allocation" : ""); }};

const Injector platform_calls = {[](unsigned nth) { FakePlatform::instance().faults.fail(nth); },
                                 [] { FakePlatform::instance().faults.disarm(); },
                                 [] { return FakePlatform::instance().faults.function(); }};

/// Calls every function with each of its steps of one kind failing in turn, with the lowest agent and the newest.
class WithEveryFailure : public MatrixTest {
protected:
    using Check = std::function<void(int agent, const std::string &injected, int result)>;

    /// Makes one run with the n-th step failing. Returns false if the call has fewer steps.
    bool run(Tally &tally, const Injector &injector, int agent, unsigned nth, const Check &check)
    {
        std::string injected;
        cell(tally, "agent " + shown_agent(agent) + ", step " + std::to_string(nth), [&] {
            world.begin(function().subject, agent);
            int result = 1;
            world.with(function().subject, [&] {
                injector.arm(nth);
                result = function().call(world);
                injector.disarm();
                if (result != ok) {
                    EXPECT_EQ(function().call(world), ok) << "the repeated call must succeed";
                }
            });
            injected = injector.injected();
            SCOPED_TRACE("failed: " + (injected.empty() ? "nothing" : injected));
            if (injected.empty())
                EXPECT_EQ(result, ok);
            else
                check(agent, injected, result);
            EXPECT_EQ(world.use_once_more(), ok);
        });
        return !injected.empty();
    }

    void run_all(Tally &tally, const Injector &injector, const Check &check)
    {
        ++tally.functions;
        for (const int agent : lowest() < newest ? std::vector{lowest(), newest} : std::vector{newest}) {
            unsigned nth = 1;
            while (nth < too_many && run(tally, injector, agent, nth, check))
                ++nth;
            EXPECT_LT(nth, too_many);
        }
    }

    int lowest() const { return std::max(function().since, 1000); }
    /// The library reads the agent's version in its first call, which is the tested one.
    int without_the_version() const { return function().since == 0 ? ok : KORVANE_ERROR_AGENT_VERSION_LOWER; }
};

/// Makes each allocation outside GLib fail.
class WithoutMemory : public WithEveryFailure {
protected:
    static void TearDownTestSuite()
    {
        tally.print("the lowest and the newest agent x each allocation failing, and none");
    }

    const Codes &promised(int agent) const
    {
        const bool records = agent == lowest() && function().without_memory_for_records;
        return records ? *function().without_memory_for_records : function().without_memory;
    }

    static inline Tally tally;
};

INSTANTIATE_TEST_SUITE_P(Call, WithoutMemory, ::testing::ValuesIn(functions()), name_of);

TEST_P(WithoutMemory, GivesOneOfItsCodesAndLeavesTheLibraryUsable)
{
    std::map<int, Codes> seen = {{lowest(), {}}, {newest, {}}};
    run_all(tally, allocations, [&](int agent, const std::string &, int result) {
        if (platform.log.count("package_info_get_version() failed") > 0) {
            EXPECT_EQ(result, without_the_version());
            return;
        }
        EXPECT_TRUE(promised(agent).contains(result)) << result << " is not one of its codes";
        seen[agent].insert(result);
    });
    for (const auto &[agent, codes] : seen)
        EXPECT_EQ(codes, promised(agent)) << "a code of the table did not occur, agent " << shown_agent(agent);
}

/// Makes each call of the platform fail.
class WithoutThePlatform : public WithEveryFailure {
protected:
    static void TearDownTestSuite()
    {
        tally.print("the lowest and the newest agent x each platform call failing, and none");
        const bool whole = tally.functions == static_cast<int>(functions().size());
        for (const auto &[call, code] : outcomes)
            EXPECT_TRUE(!whole || seen.contains(call)) << call << " was never made to fail";
    }

    /// The expected code by the name of the failed call; the first prefix of the name decides. Without a match the cell
    /// fails.
    static inline const std::vector<std::pair<std::string, int>> outcomes = {
        {"package_info_create 1", ok}, // only the code for "not installed" makes the agent absent
        {"package_info_create 2", KORVANE_ERROR_AGENT_VERSION_LOWER},
        {"package_info_get_version 1", KORVANE_ERROR_AGENT_VERSION_LOWER},
        {"package_info_destroy", ok},
        {"rpc_port_proxy_create", failed},
        {"rpc_port_proxy_add_", failed},
        {"rpc_port_proxy_connect", KORVANE_ERROR_SERVICE_UNAVAILABLE},
        {"rpc_port_proxy_destroy", ok},
        {"event_add_event_handler", ok},
        {"event_remove_event_handler", ok},
        {"rpc_port_parcel_create_from_port", KORVANE_ERROR_IO_ERROR},
        {"rpc_port_parcel_create", failed},
        {"rpc_port_parcel_write", failed},
        {"rpc_port_parcel_send", KORVANE_ERROR_IO_ERROR},
        {"rpc_port_parcel_read_int32 1",
         KORVANE_ERROR_IO_ERROR}, // the kind is unknown: the library waits for the next parcel
        {"rpc_port_parcel_read_", failed},
        {"rpc_port_parcel_destroy", ok},
    };

    int promised(const std::string &injected) const
    {
        for (const auto &[call, code] : outcomes)
            if (injected.starts_with(call)) {
                seen.insert(call);
                return code == KORVANE_ERROR_AGENT_VERSION_LOWER ? without_the_version() : code;
            }
        return 1;
    }

    static inline Tally tally;
    static inline std::set<std::string> seen;
};

INSTANTIATE_TEST_SUITE_P(Call, WithoutThePlatform, ::testing::ValuesIn(functions()), name_of);

TEST_P(WithoutThePlatform, GivesTheCodeOfTheFailureAndLeavesTheLibraryUsable)
{
    run_all(tally, platform_calls,
            [&](int, const std::string &injected, int result) { EXPECT_EQ(result, promised(injected)); });
}

} // namespace
} // namespace kv::test::matrix
