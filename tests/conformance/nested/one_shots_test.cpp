// SPDX-License-Identifier: Apache-2.0
// One-shot requests whose event arrives inside the call that sends them.
#include "nested_fixture.hpp"

namespace kv::test {
namespace {

struct OneShot {
    std::string name;
    int (*request)(korvane_h handle, Recorder *recorder);
    int delegate_id;
    Bytes values; // values of the event
    std::string noted;
};

void note_token(korvane_h handle, int result, korvane_hdr_token_info_h token, void *recorder)
{
    static_cast<Recorder *>(recorder)->note(handle, "token " + std::to_string(result) + (token ? "" : " missing"));
}

void note_two_texts(korvane_h handle, int result, const char *one, const char *two, void *recorder)
{
    static_cast<Recorder *>(recorder)->note(handle, std::to_string(result) + " " + one + " " + two);
}

const Bytes token = bytes(i32(0), str("{\"uuid\":\"u\"}"));

// One row per request.
// clang-format off
const OneShot one_shots[] = {
    {.name = "StartAsync",
     .request = [](korvane_h h, Recorder *r) { return korvane_start_async(h, Note<'s', int>::call, r); },
     .delegate_id = 27, .values = i32(-5), .noted = "s -5"},
    {.name = "GetGroupId",
     .request = [](korvane_h h, Recorder *r) { return korvane_get_group_id(h, Note<'g', const char *>::call, r); },
     .delegate_id = 26, .values = str("group"), .noted = "g group"},
    {.name = "CreateToken",
     .request = [](korvane_h h, Recorder *r) { return korvane_create_hdr_token_info(h, note_token, r); },
     .delegate_id = 28, .values = token, .noted = "token 0"},
    {.name = "CreateCertificate", .request = [](korvane_h h, Recorder *r) {
         return korvane_create_hdr_certificate(h, "type", "csr", Note<'c', int, const char *>::call, r);
     }, .delegate_id = 29, .values = bytes(i32(0), str("pem")), .noted = "c 0 pem"},
    {.name = "GetCertificate",
     .request = [](korvane_h h, Recorder *r) { return korvane_get_hdr_certificate(h, "type", "arn", note_two_texts, r); },
     .delegate_id = 30, .values = bytes(i32(0), str("one"), str("two")), .noted = "0 one two"},
    {.name = "CreateTokenCustom",
     .request = [](korvane_h h, Recorder *r) { return korvane_create_hdr_token_info_custom(h, "{}", note_token, r); },
     .delegate_id = 32, .values = token, .noted = "token 0"},
};
// clang-format on

std::ostream &operator<<(std::ostream &out, const OneShot &one_shot)
{
    return out << one_shot.name;
}

/// The agent's reply to a request whose event has already arrived.
struct End {
    std::string name;
    std::optional<int> reply; // null if it never replies
    int result;
};

const End ends[] = {
    {.name = "agreed", .reply = 0, .result = ok},
    {.name = "refused", .reply = -13, .result = KORVANE_ERROR_PERMISSION_DENIED},
    {.name = "failed", .reply = 7, .result = failed},
    {.name = "never replied", .reply = std::nullopt, .result = KORVANE_ERROR_IO_ERROR},
};

class EarlyAnswer : public NestedTest, public ::testing::WithParamInterface<OneShot> {
protected:
    using Check = std::function<void(Moment moment, const End &end)>;

    /// Runs the check in a new session for each moment of the event and each reply.
    void for_each_case(const Check &check, bool asks_again_inside = false)
    {
        for (const Moment moment : inside_a_call)
            for (const End &end : ends) {
                // Agents reply in the order of the requests, so that a nested request would have no reply either.
                if (asks_again_inside && moment == Moment::wait && !end.reply)
                    continue;
                SCOPED_TRACE(name_of(moment) + ", the agent " + end.name);
                end_run();
                begin_run();
                begin();
                ends_with(1, end);
                check(moment, end);
            }
    }

    void ends_with(int request, const End &end)
    {
        results.erase(request);
        unanswered.erase(request);
        if (end.reply)
            results[request] = *end.reply;
        else
            unanswered.insert(request);
    }

    /// The event of the latest request at the moment when the platform raises it.
    Bytes answer() const
    {
        return event(GetParam().delegate_id, last_seq_id(FakePlatform::instance().log), true, GetParam().values);
    }
    void answer_inside(Moment moment, unsigned times = 1)
    {
        platform.proxy().raise_inside(moment, [this, times](Proxy &proxy) {
            last_answer = answer();
            for (unsigned i = 0; i < times && proxy.alive; ++i)
                proxy.push_event(last_answer);
        });
    }
    int request(Recorder &given) { return GetParam().request(handle, &given); }
    Strings once() const { return {GetParam().noted}; }

    /// Makes another request of the same kind, which must succeed.
    void expect_works_on()
    {
        results.clear();
        unanswered.clear();
        Recorder later;
        EXPECT_EQ(request(later), ok);
        EXPECT_EQ(later.seen, Strings{});
        platform.proxy().push_event(answer());
        EXPECT_EQ(later.seen, once());
    }

    Bytes last_answer;
    Recorder other; // recorder of a nested request
};

INSTANTIATE_TEST_SUITE_P(Of, EarlyAnswer, ::testing::ValuesIn(one_shots),
                         [](const auto &row) { return row.param.name; });

TEST_P(EarlyAnswer, IsDeliveredOnceAndAtOnceWithEveryReply)
{
    for_each_case([this](Moment moment, const End &end) {
        answer_inside(moment);
        EXPECT_EQ(request(recorder), end.result);
        EXPECT_EQ(recorder.seen, once());
        platform.proxy().push_event(last_answer);
        EXPECT_EQ(recorder.seen, once());
        expect_works_on();
    });
}

/// No function of the library makes such a delegate. The trampoline checks it, because it would crash otherwise.
TEST_P(EarlyAnswer, ForADelegateWithoutUserDataIsDropped)
{
    begin();
    EXPECT_EQ(request(recorder), ok);
    const Bytes late = answer();
    forget_user_data(GetParam().delegate_id);
    platform.log.clear();
    platform.proxy().push_event(late);
    EXPECT_EQ(recorder.seen, Strings{});
    ASSERT_EQ(platform.log.errors().size(), 1U);
    EXPECT_EQ(platform.log.errors()[0].message, "kv_cb_info is NULL");
    expect_works_on();
}

/// No function of the library accepts such a request. The trampoline checks it, because it would crash otherwise.
TEST_P(EarlyAnswer, ForARequestWithoutACallbackReleasesIt)
{
    begin();
    EXPECT_EQ(request(recorder), ok);
    const Bytes late = answer();
    const std::size_t blocks = allocs::live_blocks();
    forget_callbacks(GetParam().delegate_id);
    platform.proxy().push_event(late);
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(platform.log.count("callback to app"), 0U);
    EXPECT_EQ(allocs::live_blocks(), blocks - 2) << "the delegate and the request";
    expect_works_on();
}

TEST_P(EarlyAnswer, ThatIsSentTwiceIsDeliveredOnce)
{
    for_each_case([this](Moment moment, const End &end) {
        answer_inside(moment, 2);
        recorder.then = [this](korvane_h) { platform.proxy().push_event(last_answer); };
        EXPECT_EQ(request(recorder), end.result);
        EXPECT_EQ(recorder.seen, once());
        expect_works_on();
    });
}

TEST_P(EarlyAnswer, InsideTheSendAndAgainInsideTheWaitIsDeliveredOnce)
{
    for (const End &end : ends) {
        end_run();
        begin_run();
        begin();
        ends_with(1, end);
        answer_inside(Moment::send);
        answer_inside(Moment::wait);
        EXPECT_EQ(request(recorder), end.result);
        EXPECT_EQ(recorder.seen, once());
        expect_works_on();
    }
}

TEST_P(EarlyAnswer, OfARequestWhoseSendFailsAfterwardsIsDeliveredOnce)
{
    begin();
    platform.main_port().send_results = {-32};
    answer_inside(Moment::send);
    EXPECT_EQ(request(recorder), KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(recorder.seen, once());
    expect_works_on();
}

/// The record and the delegate of the outer request are released before the nested request is made, so that the nested
/// one may have their addresses. It must remain outstanding when the outer request ends.
TEST_P(EarlyAnswer, KeepsTheNestedRequestThatItsCallbackMakes)
{
    for (int round = 0; round < 3; ++round) {
        const allocs::ReuseBlocks reuse;
        for_each_case(
            [this](Moment moment, const End &end) {
                other = {};
                const int outer_number = moment == Moment::send ? 2 : 1; // in the order of their arrival at the agent
                ends_with(1, ends[0]);
                ends_with(outer_number, end);
                answer_inside(moment);
                Bytes nested_answer;
                recorder.then = [&](korvane_h) {
                    EXPECT_EQ(request(other), ok);
                    nested_answer = answer();
                };
                EXPECT_EQ(request(recorder), end.result);
                EXPECT_EQ(recorder.seen, once());
                EXPECT_EQ(other.seen, Strings{});
                platform.proxy().push_event(nested_answer);
                EXPECT_EQ(other.seen, once());
                platform.proxy().push_event(nested_answer);
                EXPECT_EQ(other.seen, once());
                EXPECT_EQ(recorder.seen, once());
                expect_works_on();
                ASSERT_EQ(korvane_deinitialize(handle), ok);
            },
            true);
    }
}

TEST_P(EarlyAnswer, LetsDeinitializeReleaseANestedRequest)
{
    for_each_case(
        [this](Moment moment, const End &end) {
            other = {};
            ends_with(1, ends[0]);
            ends_with(moment == Moment::send ? 2 : 1, end);
            answer_inside(moment);
            recorder.then = [this](korvane_h) { EXPECT_EQ(request(other), ok); };
            EXPECT_EQ(request(recorder), end.result);
            EXPECT_EQ(korvane_deinitialize(handle), ok);
            EXPECT_EQ(recorder.seen, once());
            EXPECT_EQ(other.seen, Strings{});
        },
        true);
}

/// The nested request is made inside another event, before the event of the outer request.
TEST_P(EarlyAnswer, OfANestedRequestInsideAnotherEventIsDelivered)
{
    for_each_case(
        [this](Moment moment, const End &end) {
            other = {};
            ends_with(1, ends[0]);
            ends_with(moment == Moment::send ? 2 : 1, end);
            Bytes outer_answer;
            inside(moment, [&](korvane_h) {
                outer_answer = answer();
                answer_inside(Moment::wait);
                EXPECT_EQ(request(other), ok);
                EXPECT_EQ(other.seen, once());
            });
            EXPECT_EQ(request(recorder), end.result);
            EXPECT_EQ(recorder.seen, Strings{});
            platform.proxy().push_event(outer_answer);
            EXPECT_EQ(recorder.seen, end.result == ok ? once() : Strings{});
            EXPECT_EQ(other.seen, once());
            expect_works_on();
        },
        true);
}

TEST_P(EarlyAnswer, FailsTheRequestIfItsCallbackDeinitializes)
{
    for (const bool finishes : {false, true})
        for_each_case([&](Moment moment, const End &) {
            platform.finishes_after_destroy = finishes;
            answer_inside(moment, 2);
            recorder.then = [](korvane_h called_with) { EXPECT_EQ(korvane_deinitialize(called_with), ok); };
            EXPECT_EQ(request(recorder), failed);
            EXPECT_EQ(recorder.seen, once());
            EXPECT_EQ(run_main_loop(), 0U);
        });
}

TEST_P(EarlyAnswer, FailsTheRequestIfItsCallbackBeginsANewSession)
{
    for (const bool finishes : {false, true}) {
        const allocs::ReuseBlocks reuse;
        for_each_case([&](Moment moment, const End &) {
            other = {};
            platform.finishes_after_destroy = finishes;
            answer_inside(moment);
            Bytes nested_answer;
            recorder.then = [&](korvane_h called_with) {
                ASSERT_EQ(korvane_deinitialize(called_with), ok);
                results.clear();
                unanswered.clear();
                initialize();
                ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, &notices), ok);
                number_requests();
                platform.proxy().fire_connected();
                ASSERT_EQ(request(other), ok);
                nested_answer = answer();
            };
            EXPECT_EQ(request(recorder), failed);
            EXPECT_EQ(recorder.seen, once());
            EXPECT_EQ(run_main_loop(), 0U);
            EXPECT_EQ(notices, 0);
            platform.proxy().push_event(last_answer);
            EXPECT_EQ(recorder.seen, once());
            platform.proxy().push_event(nested_answer);
            EXPECT_EQ(other.seen, once());
            expect_works_on();
            ASSERT_EQ(korvane_deinitialize(handle), ok);
            statuses.clear();
        });
    }
}

/// The link breaks inside the request: no event arrives, and the request leaks nothing.
TEST_P(EarlyAnswer, IsNotDeliveredIfTheLinkBreaksInsideTheRequest)
{
    for (const Moment moment : inside_a_call) {
        begin();
        platform.proxy().raise_inside(moment, disconnected());
        const std::size_t blocks = allocs::live_blocks();
        EXPECT_EQ(request(recorder), KORVANE_ERROR_IO_ERROR);
        EXPECT_EQ(allocs::live_blocks(), blocks);
        EXPECT_EQ(recorder.seen, Strings{});
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

} // namespace
} // namespace kv::test
