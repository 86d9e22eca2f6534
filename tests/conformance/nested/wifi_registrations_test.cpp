// SPDX-License-Identifier: Apache-2.0
// Set and unset functions of the access point inside each other, with a delegate of each wire format.
#include "conformance/fixtures/every_registration.hpp"
#include "nested_fixture.hpp"

namespace kv::test {
namespace {

/// The registration of the access point has one delegate per wire format. After an update the delegate of the other one remains.
class NestedWifiRegistration : public NestedTest {
protected:
    int set(Recorder &given)
    {
        return korvane_set_wifi_ap_provisioning_cb(handle, Note<'w', korvane_ap_info_h>::call, &given);
    }
    int unset() { return korvane_unset_wifi_ap_provisioning_cb(handle); }
    void record_arrives(int seq_id)
    {
        platform.proxy().push_event(event(7, seq_id, false, str("home"), str("secret"), i32(2), i32(3), i32(6),
                                          str("aa:bb"), i32(-40), i32(54)));
    }
    void document_arrives(int seq_id)
    {
        platform.proxy().push_event(event(18, seq_id, false, str("{\"ap_ssid\":\"home\"}")));
    }
    void expect_works_on()
    {
        Recorder later;
        EXPECT_EQ(set(later), ok);
        document_arrives(last_seq_id(platform.log));
        EXPECT_EQ(later.seen, (Strings{"w ap_info"}));
        EXPECT_EQ(unset(), ok);
        document_arrives(last_seq_id(platform.log));
        EXPECT_EQ(later.seen, (Strings{"w ap_info"}));
    }

    /// Registers with an agent of the record format, then replaces it by one of the document format.
    void begin_updated()
    {
        former = outer = nested = {};
        begin("1.2");
        ASSERT_EQ(set(former), ok);
        before_seq_id = last_seq_id(platform.log);
        update_to("2.3");
        number_requests();
    }
    void update_to(const std::string &version)
    {
        install_starts();
        update_completes();
        platform.agent_version = version;
    }

    Recorder former, outer, nested;
    int before_seq_id = 0;
    int outer_seq_id = 0;
    int nested_seq_id = 0;
    const Strings one_event = {"w ap_info"};
};

TEST_F(NestedWifiRegistration, SetInsideSetAfterAnUpdateDeliversEachDelegateToItsOwnCallback)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        inside(moment, [&](korvane_h) {
            outer_seq_id = last_seq_id(platform.log);
            EXPECT_EQ(set(nested), ok);
            nested_seq_id = last_seq_id(platform.log);
        });
        EXPECT_EQ(set(outer), ok);
        document_arrives(outer_seq_id);
        EXPECT_EQ(outer.seen, one_event);
        EXPECT_EQ(nested.seen, Strings{});
        document_arrives(nested_seq_id);
        EXPECT_EQ(outer.seen, one_event);
        expect_works_on();
        record_arrives(before_seq_id); // arrives after that unset
        EXPECT_EQ(former.seen, Strings{});
        EXPECT_EQ(outer.seen, one_event);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(NestedWifiRegistration, UnsetInsideASetWorksAfterAnUpdate)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        inside(moment, [&](korvane_h) {
            outer_seq_id = last_seq_id(platform.log);
            EXPECT_EQ(unset(), ok);
            record_arrives(before_seq_id);
            document_arrives(outer_seq_id);
        });
        EXPECT_EQ(set(outer), ok);
        EXPECT_EQ(former.seen, Strings{});
        EXPECT_EQ(outer.seen, Strings{});
        document_arrives(outer_seq_id);
        EXPECT_EQ(outer.seen, one_event);
        expect_works_on();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(NestedWifiRegistration, SetInsideAnUnsetWorksAfterAnUpdate)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        inside(moment, [&](korvane_h) {
            EXPECT_EQ(set(nested), ok);
            nested_seq_id = last_seq_id(platform.log);
        });
        EXPECT_EQ(unset(), ok);
        record_arrives(before_seq_id);
        document_arrives(nested_seq_id);
        EXPECT_EQ(former.seen, Strings{});
        EXPECT_EQ(nested.seen, Strings{});
        expect_works_on();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

/// An update replaces the agent inside the outer call, so that the nested call uses the other wire format.
TEST_F(NestedWifiRegistration, SetInsideAnUnsetWorksIfAnUpdateInterrupts)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        inside(moment, [&](korvane_h) {
            update_to("1.2");
            EXPECT_EQ(set(nested), ok);
            nested_seq_id = last_seq_id(platform.log);
            record_arrives(nested_seq_id);
            EXPECT_EQ(nested.seen, one_event);
        });
        EXPECT_EQ(unset(), ok);
        record_arrives(nested_seq_id);
        record_arrives(before_seq_id);
        EXPECT_EQ(nested.seen, one_event);
        EXPECT_EQ(former.seen, Strings{});
        update_to("2.3");
        expect_works_on();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(NestedWifiRegistration, UnsetInsideASetWorksIfAnUpdateInterrupts)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        inside(moment, [&](korvane_h) {
            outer_seq_id = last_seq_id(platform.log);
            update_to("1.2");
            EXPECT_EQ(unset(), ok);
        });
        EXPECT_EQ(set(outer), ok);
        document_arrives(outer_seq_id);
        EXPECT_EQ(outer.seen, one_event);
        EXPECT_EQ(former.seen, Strings{});
        update_to("2.3");
        expect_works_on();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(NestedWifiRegistration, SetInsideASetWorksIfAnUpdateInterrupts)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        inside(moment, [&](korvane_h) {
            outer_seq_id = last_seq_id(platform.log);
            update_to("1.2");
            EXPECT_EQ(set(nested), ok);
            nested_seq_id = last_seq_id(platform.log);
        });
        EXPECT_EQ(set(outer), ok);
        document_arrives(outer_seq_id);
        EXPECT_EQ(outer.seen, one_event);
        EXPECT_EQ(nested.seen, Strings{});
        record_arrives(nested_seq_id);
        EXPECT_EQ(outer.seen, one_event);
        update_to("2.3");
        expect_works_on();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

/// A set inside an unset leaves the access point of its event, but no callback.
TEST_F(NestedWifiRegistration, AnEventWithoutACallbackReleasesTheLastAccessPoint)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        inside(moment, [&](korvane_h) {
            EXPECT_EQ(set(nested), ok);
            document_arrives(last_seq_id(platform.log));
            EXPECT_EQ(nested.seen, one_event);
        });
        EXPECT_EQ(unset(), ok);
        const std::size_t blocks = allocs::live_blocks();
        record_arrives(before_seq_id);
        EXPECT_EQ(former.seen, Strings{});
        EXPECT_EQ(nested.seen, one_event);
        EXPECT_LT(allocs::live_blocks(), blocks);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

/// Either of the two calls releases the access point of the last event, exactly once.
TEST_F(NestedWifiRegistration, AnEventOfTheNestedSetInsideTheOuterOneLeaksNothing)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin_updated();
        record_arrives(before_seq_id);
        EXPECT_EQ(former.seen, one_event);
        inside(moment, [&](korvane_h) {
            EXPECT_EQ(set(nested), ok);
            document_arrives(last_seq_id(platform.log));
            EXPECT_EQ(nested.seen, one_event);
        });
        EXPECT_EQ(set(outer), ok);
        inside(moment, [&](korvane_h) {
            EXPECT_EQ(set(nested), ok);
            document_arrives(last_seq_id(platform.log));
            EXPECT_EQ(nested.seen, (Strings{"w ap_info", "w ap_info"}));
        });
        EXPECT_EQ(unset(), ok);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

} // namespace
} // namespace kv::test
