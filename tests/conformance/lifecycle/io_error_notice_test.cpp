// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/library_fixture.hpp"

#include <glib.h>

namespace kv::test {
namespace {

const LogLine notice_entered = api_info("_master_rpc_io_error_cb", ">>> called");

LogLine scheduled_by(const std::string &function)
{
    return api_info(function, "rpc io error callback will be called");
}

/// The calls of the RPC I/O error callback.
struct Notices {
    unsigned count = 0;
    korvane_h handle = nullptr;

    static void note(korvane_h seen, void *notices)
    {
        ++static_cast<Notices *>(notices)->count;
        static_cast<Notices *>(notices)->handle = seen;
    }
};

class IoErrorNotice : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        connect();
        ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, Notices::note, &notices), KORVANE_ERROR_NONE);
        platform.log.clear();
    }

    /// Makes a call over a broken link.
    void fail_a_call() { EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_IO_ERROR); }

    Notices notices;
};

TEST_F(IoErrorNotice, RunsFromTheMainLoopAndNeverInsideTheFailingCall)
{
    fail_a_call();
    EXPECT_EQ(notices.count, 0U);
    EXPECT_EQ(platform.log.lines().back(), scheduled_by("korvane_start"));
    platform.log.clear();
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);
    EXPECT_EQ(notices.handle, handle);
    EXPECT_EQ(platform.log.lines(), (LogLines{notice_entered}));
}

TEST_F(IoErrorNotice, IsScheduledOnceForTwoFailuresAndAgainAfterItRan)
{
    fail_a_call();
    EXPECT_EQ(korvane_stop(handle), KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(platform.log.count("rpc io error callback will be called"), 1U);
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);

    EXPECT_EQ(korvane_stop(handle), KORVANE_ERROR_IO_ERROR);
    EXPECT_TRUE(platform.log.has(scheduled_by("korvane_stop")));
    run_main_loop();
    EXPECT_EQ(notices.count, 2U);
}

TEST_F(IoErrorNotice, IsAnIdleSourceWithDefaultPriority)
{
    fail_a_call();
    GSource *source = g_main_context_find_source_by_user_data(nullptr, handle);
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(g_source_get_priority(source), G_PRIORITY_DEFAULT);
    run_main_loop();
    EXPECT_EQ(g_main_context_find_source_by_user_data(nullptr, handle), nullptr);
}

TEST_F(IoErrorNotice, RunsOnTheMainContextOfTheThreadThatInitialised)
{
    ASSERT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    GMainContext *context = g_main_context_new();
    g_main_context_push_thread_default(context);
    connect();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, Notices::note, &notices), KORVANE_ERROR_NONE);
    for (bool cancelled : {false, true}) {
        fail_a_call();
        EXPECT_EQ(run_main_loop(), 0U) << "the notice must not run on the default context";
        if (cancelled) {
            EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
        }
        EXPECT_EQ(g_main_context_iteration(context, FALSE), !cancelled);
        EXPECT_EQ(notices.count, 1U);
    }
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
}

/// The application may give up its context before the library does.
TEST_F(IoErrorNotice, KeepsItsMainContextUntilDeinitialisation)
{
    ASSERT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    GMainContext *context = g_main_context_new();
    bool finalized = false;
    GSource *witness = g_idle_source_new();
    g_source_set_callback(
        witness, [](void *) { return gboolean{G_SOURCE_CONTINUE}; }, &finalized,
        [](void *flag) { *static_cast<bool *>(flag) = true; });
    g_source_attach(witness, context);
    g_source_unref(witness);
    g_main_context_push_thread_default(context);
    connect();
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    EXPECT_FALSE(finalized);
    ASSERT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_TRUE(finalized);
}

TEST_F(IoErrorNotice, IsScheduledByEveryFunctionThatSendsARequest)
{
    EXPECT_EQ(korvane_start_async(
                  handle, [](korvane_h, int, void *) {}, nullptr),
              KORVANE_ERROR_IO_ERROR);
    EXPECT_TRUE(platform.log.has(scheduled_by("korvane_start_async")));
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);
}

TEST_F(IoErrorNotice, IsNotScheduledForOtherFailures)
{
    arrives(reply(-5));
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_OPERATION_FAILED);
    platform.proxy().fire_disconnected();
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(run_main_loop(), 0U);
    EXPECT_EQ(notices.count, 0U);
}

TEST_F(IoErrorNotice, IsNotScheduledForAFailedSendWithASuccessfulReply)
{
    platform.main_port().send_results = {-5};
    arrives(reply(0));
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(run_main_loop(), 0U);
}

TEST_F(IoErrorNotice, IsNotScheduledWithoutACallback)
{
    ASSERT_EQ(korvane_unset_rpc_io_error_cb(handle), KORVANE_ERROR_NONE);
    fail_a_call();
    EXPECT_EQ(platform.log.count("rpc io error callback will be called"), 0U);
    EXPECT_EQ(run_main_loop(), 0U);
}

TEST_F(IoErrorNotice, IsNotDeliveredAfterUnset)
{
    fail_a_call();
    ASSERT_EQ(korvane_unset_rpc_io_error_cb(handle), KORVANE_ERROR_NONE);
    platform.log.clear();
    run_main_loop();
    EXPECT_EQ(notices.count, 0U);
    EXPECT_EQ(platform.log.lines(), (LogLines{notice_entered}));
}

TEST_F(IoErrorNotice, CallsTheCallbackThatIsSetWhenItRuns)
{
    Notices others;
    fail_a_call();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, Notices::note, &others), KORVANE_ERROR_NONE);
    run_main_loop();
    EXPECT_EQ(notices.count, 0U);
    EXPECT_EQ(others.count, 1U);
}

TEST_F(IoErrorNotice, IsCancelledByDeinitialize)
{
    fail_a_call();
    ASSERT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(run_main_loop(), 0U);
    EXPECT_EQ(notices.count, 0U);
}

/// An application may destroy all sources of its main context before it deinitialises.
TEST_F(IoErrorNotice, MayBeDestroyedByTheApplication)
{
    fail_a_call();
    g_source_destroy(g_main_context_find_source_by_user_data(nullptr, handle));
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(run_main_loop(), 0U);
    EXPECT_EQ(notices.count, 0U);
}

/// A platform may run the main loop while it closes the links.
TEST_F(IoErrorNotice, IsNotDeliveredInsideDeinitialize)
{
    fail_a_call();
    platform.log.clear();
    platform.proxy().raise_inside(Moment::destroy, [](Proxy &) { EXPECT_EQ(run_main_loop(), 1U); });
    ASSERT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(notices.count, 0U);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_deinitialize", ">>> called"), notice_entered,
                                              api_info("_master_rpc_io_error_cb", "Already deinitialized")}));
}

/// The library makes no such source. The function checks it, because it would crash otherwise.
TEST_F(IoErrorNotice, WithoutAHandleIsDropped)
{
    fail_a_call();
    GSource *source = g_main_context_find_source_by_user_data(nullptr, handle);
    ASSERT_NE(source, nullptr);
    GSourceFunc function = nullptr;
    void *data = nullptr;
    source->callback_funcs->get(source->callback_data, source, &function, &data);
    EXPECT_EQ(data, handle);
    platform.log.clear();
    EXPECT_EQ(function(nullptr), G_SOURCE_REMOVE);
    EXPECT_EQ(notices.count, 0U);
    EXPECT_EQ(platform.log.lines(), (LogLines{notice_entered, api_error("_master_rpc_io_error_cb", "Handle is NULL")}));
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);
}

TEST_F(IoErrorNotice, OfAnEarlierHandleDoesNotSuppressThatOfTheNext)
{
    fail_a_call();
    ASSERT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    connect();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, Notices::note, &notices), KORVANE_ERROR_NONE);
    fail_a_call();
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);
    EXPECT_EQ(notices.handle, handle);
}

TEST_F(IoErrorNotice, IsCancelledByEveryInitialize)
{
    fail_a_call();
    korvane_h other = nullptr;
    EXPECT_EQ(korvane_initialize(&other, nullptr, nullptr), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(run_main_loop(), 0U);
    EXPECT_EQ(notices.count, 0U);

    fail_a_call();
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);
}

using IoErrorCallback = LibraryTest;

TEST_F(IoErrorCallback, RefusesNullAndKeepsThePresentOne)
{
    Notices notices;
    connect();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, Notices::note, &notices), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_set_rpc_io_error_cb(handle, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_IO_ERROR);
    run_main_loop();
    EXPECT_EQ(notices.count, 1U);
}

TEST_F(IoErrorCallback, CanBeUnsetTwice)
{
    connect();
    EXPECT_EQ(korvane_unset_rpc_io_error_cb(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_unset_rpc_io_error_cb(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_unset_rpc_io_error_cb", ">>> called"),
                                              api_info("korvane_unset_rpc_io_error_cb", ">>> called")}));
}

TEST_F(IoErrorCallback, IsSetAndUnsetWithoutARequest)
{
    Notices notices;
    initialize();
    platform.log.clear();
    EXPECT_EQ(korvane_set_rpc_io_error_cb(handle, Notices::note, &notices), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_unset_rpc_io_error_cb(handle), KORVANE_ERROR_NONE);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_set_rpc_io_error_cb", ">>> called"),
                                              api_info("korvane_unset_rpc_io_error_cb", ">>> called")}));
}

} // namespace
} // namespace kv::test
