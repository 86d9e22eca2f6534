// SPDX-License-Identifier: Apache-2.0
#include "matrix_test.hpp"

#include <map>

namespace kv::test::matrix {
namespace {

constexpr unsigned too_many = 200; // steps; a call with more never completes without a failure

/// What makes the n-th step of a kind fail, once.
struct Injector {
    void (*arm)(unsigned nth);
    void (*disarm)();
    std::string (*injected)(); // what failed; empty when nothing did
};

const Injector allocations = {allocs::fail_nth, allocs::stop_failing,
                              [] { return std::string(allocs::failed() ? "an allocation" : ""); }};

const Injector platform_calls = {[](unsigned nth) { FakePlatform::instance().faults.fail(nth); },
                                 [] { FakePlatform::instance().faults.disarm(); },
                                 [] { return FakePlatform::instance().faults.function(); }};

/// Every function with each of its steps of one kind failing in turn, with the lowest agent and with the newest.
class WithEveryFailure : public MatrixTest {
protected:
    using Check = std::function<void(int agent, const std::string &injected, int result)>;

    /// One run with the n-th step failing; false when the call has fewer steps.
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
                    EXPECT_EQ(function().call(world), ok) << "the same call, once more";
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
    /// The library reads the agent's version at its first call, as it is here.
    int without_the_version() const { return function().since == 0 ? ok : KORVANE_ERROR_AGENT_VERSION_LOWER; }
};

/// Each allocation outside GLib.
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
        EXPECT_TRUE(promised(agent).contains(result)) << result << " is none of its codes";
        seen[agent].insert(result);
    });
    for (const auto &[agent, codes] : seen)
        EXPECT_EQ(codes, promised(agent)) << "a code of the table was never seen, agent " << shown_agent(agent);
}

/// Each call of the platform that can fail.
class WithoutThePlatform : public WithEveryFailure {
protected:
    static void TearDownTestSuite()
    {
        tally.print("the lowest and the newest agent x each platform call failing, and none");
        const bool whole = tally.functions == static_cast<int>(functions().size());
        for (const auto &[call, code] : outcomes)
            EXPECT_TRUE(!whole || seen.contains(call)) << call << " was never made to fail";
    }

    /// The first of these that a failed call's name begins with decides; a call that is none of them fails its cell.
    static inline const std::vector<std::pair<std::string, int>> outcomes = {
        {"package_info_create 1", ok}, // only a definite "not installed" counts
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
        {"rpc_port_parcel_read_int32 1", KORVANE_ERROR_IO_ERROR}, // not known to be a result: the next one is awaited
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
