// SPDX-License-Identifier: Apache-2.0
#include "matrix_test.hpp"

namespace kv::test::matrix {
namespace {

/// Calls every function inside every callback of an event.
class InsideEveryCallback : public MatrixTest {
protected:
    static void TearDownTestSuite() { tally.print(std::to_string(events().size()) + " callbacks"); }

    /// Only agents without the newer form of the access point send the older one.
    static int agent_of(const Event &event) { return event.id == 7 ? 1002 : newest; }

    int promised(const Event &event) const
    {
        return function().name == "korvane_initialize" ? failed // a handle already exists
                                                       : result_with(function(), agent_of(event));
    }

    /// Whether the call ends or replaces the registration that the event belongs to.
    bool ends(const Event &event) const
    {
        const std::string &name = function().name;
        return name == event.asked_by || name == "korvane_un" + event.asked_by.substr(sizeof "korvane_" - 1);
    }

    void call_inside(const Event &event)
    {
        world.begin(function().subject == Subject::nothing ? Subject::library : function().subject, agent_of(event));
        const Bytes parcel = world.subscribe(event);
        int result = 1;
        world.during_callback = [&] { world.with(function().subject, [&] { result = function().call(world); }); };
        world.arrives(parcel);
        EXPECT_EQ(result, promised(event));

        if (world.connected()) {
            const int before = world.callbacks;
            world.arrives(parcel);
            EXPECT_EQ(world.callbacks - before, once(event) || ends(event) ? 0 : 1)
                << "calls for the event that is sent again";
        }
        EXPECT_EQ(world.use_once_more(), ok);
    }

    static inline Tally tally;
};

INSTANTIATE_TEST_SUITE_P(Call, InsideEveryCallback, ::testing::ValuesIn(functions()), name_of);

TEST_P(InsideEveryCallback, WorksAndLeavesTheLibraryUsable)
{
    ++tally.functions;
    for (const Event &event : events())
        cell(tally, "inside " + event.name, [&] { call_inside(event); });
}

/// The callback ends the session of its handle and begins another one.
class NewSessionInsideEveryCallback : public InsideEveryCallback {
protected:
    static void TearDownTestSuite() {}
};

const Function begin_anew = {"korvane_deinitialize_and_korvane_initialize", 0, Subject::library, {}, [](World &w) {
                                 const int result = korvane_deinitialize(w.handle);
                                 return result == ok ? korvane_initialize(&w.handle, ignore_connection, &w) : result;
                             }};

INSTANTIATE_TEST_SUITE_P(Call, NewSessionInsideEveryCallback, ::testing::Values(begin_anew), name_of);

TEST_P(NewSessionInsideEveryCallback, LeavesTheNewHandleUsable)
{
    Tally not_of_the_matrix;
    for (const Event &event : events())
        cell(not_of_the_matrix, "inside " + event.name, [&] { call_inside(event); });
}

} // namespace
} // namespace kv::test::matrix
