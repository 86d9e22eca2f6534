// SPDX-License-Identifier: Apache-2.0
// The agent's requests, replies and events as bytes, without a port.
#include "agent/control/commands/commands.hpp"
#include "support/lone_device.hpp"

#include <rpc_port_stub.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace kv;
using namespace kv::virtual_agent;

namespace {

using Bytes = std::string;

Bytes bytes_of(rpc_port_parcel_h parcel)
{
    const void *bytes = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(rpc_port_parcel_get_raw(parcel, &bytes, &size), 0);
    return {static_cast<const char *>(bytes), size};
}

Parcel parcel_of(const Bytes &bytes)
{
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_EQ(rpc_port_parcel_create_from_raw(&parcel, bytes.data(), bytes.size()), 0);
    return Parcel{parcel};
}

Bytes int32(int value)
{
    Bytes bytes(4, '\0');
    for (unsigned i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>((static_cast<unsigned>(value) >> (8 * i)) & 0xff);
    return bytes;
}

Bytes text(const std::string &value)
{
    return int32(static_cast<int>(value.size())) + value;
}

constexpr const char *shown_text = "for all to see";
constexpr const char *hidden_text = "not to be shown";

// Sample bytes of each kind of element, typed by hand and not written by the code under test.

template <FixedText N>
Bytes sample(describe::Int32<N>)
{
    return int32(7);
}
template <FixedText N>
Bytes sample(describe::Bool<N>)
{
    return "\1";
}
template <FixedText N>
Bytes sample(describe::String<N>)
{
    return text(shown_text);
}
template <FixedText N>
Bytes sample(describe::Secret<N>)
{
    return text(hidden_text);
}
template <const auto &Documents, FixedText N>
Bytes sample(describe::DocumentText<Documents, N>)
{
    return text(master::may_hold_secrets(Documents) ? hidden_text : shown_text);
}
template <class R>
Bytes record_sample()
{
    Bytes bytes;
    describe::for_each(typename R::fields{}, [&]<class F>() { bytes += sample(typename F::element{}); });
    return bytes;
}
template <class R, FixedText N>
Bytes sample(describe::Rec<R, N>)
{
    return record_sample<R>();
}
template <FixedText N, class R>
Bytes item_sample(describe::RecordArray<N, R>)
{
    return record_sample<R>();
}
template <FixedText N>
Bytes item_sample(describe::IntArray<N>)
{
    return int32(7);
}
template <class A, FixedText N>
Bytes sample(describe::Arr<A, N>)
{
    return int32(2) + item_sample(A{}) + item_sample(A{});
}
template <class D>
Bytes sample(describe::Callback<D>)
{
    return int32(D::id) + int32(41) + Bytes(1, '\0');
}

template <class... E>
Bytes arguments_sample(describe::In<E...>)
{
    return (Bytes{} + ... + sample(E{}));
}

struct Sample {
    const MethodEntry *method;
    Bytes arguments;
};

std::vector<Sample> samples()
{
    std::vector<Sample> all;
    describe::for_each(master::Methods{}, [&]<class M>() {
        all.push_back({find_method(M::id), arguments_sample(typename M::in{})});
    });
    return all;
}

class AgentStub : public testing::Test {
protected:
    Served serve(const MethodEntry &method, const Bytes &arguments, const Deviation &deviation = {})
    {
        Parcel request = parcel_of(arguments);
        Call call{peer};
        Served served = handlers.serve(method, call, request.get(), deviation);
        events = std::move(call.events);
        return served;
    }
    Served serve(const char *method, const Bytes &arguments, const Deviation &deviation = {})
    {
        return serve(*find_method(method), arguments, deviation);
    }

    /// The arguments as the journal shows them.
    static std::string shown(const MethodEntry &method, const Bytes &arguments)
    {
        return method.show_arguments(parcel_of(int32(method.id) + arguments).get()).text();
    }
    static std::string shown(const char *method, const Bytes &arguments)
    {
        return shown(*find_method(method), arguments);
    }

    test::LoneDevice device;
    State &state = device.state;
    Handlers &handlers = device.handlers;
    Peer peer{"instance", "program(1)"};
    std::vector<Event> events;
};

TEST_F(AgentStub, ServesEveryMethodOfTheInterface)
{
    int served = 0;
    for (const Sample &sample : samples()) {
        const Served answer = serve(*sample.method, sample.arguments);
        ASSERT_TRUE(answer.decoded) << sample.method->name;
        const Bytes reply = bytes_of(answer.reply.get());
        EXPECT_EQ(reply.substr(0, 4), int32(0)) << sample.method->name << ": the first number is the kind";
        EXPECT_GE(reply.size(), 8U) << sample.method->name;
        ++served;
    }
    EXPECT_EQ(served, 104);
}

TEST_F(AgentStub, RefusesEveryTruncatedRequest)
{
    int cuts = 0;
    for (const Sample &sample : samples()) {
        for (std::size_t size = 0; size < sample.arguments.size(); ++size, ++cuts) {
            const Served answer = serve(*sample.method, sample.arguments.substr(0, size));
            EXPECT_FALSE(answer.decoded) << sample.method->name << " cut after " << size << " bytes";
            EXPECT_FALSE(answer.reply) << sample.method->name;
        }
    }
    EXPECT_GT(cuts, 1000);
}

TEST_F(AgentStub, RefusesCountsAndLengthsBeyondTheEndOfTheRequest)
{
    for (int size : {2147483647, -1, -2147483647 - 1}) {
        EXPECT_FALSE(serve("set_device_name", int32(size) + "abc").decoded) << size;
        EXPECT_FALSE(serve("set_language_list", int32(size) + text("en")).decoded) << size;
        EXPECT_FALSE(serve("set_sub_device_presence", int32(size) + int32(1)).decoded) << size;
    }
}

TEST_F(AgentStub, ShowsArgumentsByNameAndMasksSecrets)
{
    int secrets = 0;
    for (const Sample &sample : samples()) {
        const std::string seen = shown(*sample.method, sample.arguments);
        EXPECT_EQ(seen.find(hidden_text), std::string::npos) << sample.method->name << ": " << seen;
        secrets += seen.find("<secret, 15 bytes>") != std::string::npos ? 1 : 0;
        EXPECT_EQ(sample.arguments.find(shown_text) != std::string::npos, seen.find(shown_text) != std::string::npos)
            << sample.method->name << ": " << seen;
    }
    EXPECT_GT(secrets, 3);
    EXPECT_EQ(shown("set_nick_name", int32(-3) + text("lamp")), R"({"device_no":-3,"nick":"lamp"})");
}

TEST_F(AgentStub, ShowsInvalidUtf8AsValidJson)
{
    const std::string seen = shown("set_device_name", text("\xff\x01\""));
    EXPECT_NO_THROW(Json::parse(seen)) << seen;
    EXPECT_TRUE(g_utf8_validate(seen.c_str(), -1, nullptr)) << seen;
}

TEST_F(AgentStub, ShowsOnlyTheBeginningOfLongValues)
{
    EXPECT_LT(shown("set_device_name", text(std::string(100'000, 'x'))).size(), 1200U);
    Bytes many = int32(10'000);
    for (int i = 0; i < 10'000; ++i)
        many += int32(i);
    EXPECT_LT(shown("set_sub_device_presence", many + "\1").size(), 400U);
}

TEST_F(AgentStub, KeepsADelegateFromItsSetRequestToItsUnsetRequest)
{
    int pairs = 0;
    describe::for_each(master::Events{}, [&]<class P>() {
        const Bytes arguments = arguments_sample(typename P::set::in{});
        EXPECT_TRUE(serve(P::set::name, arguments).decoded);
        EXPECT_EQ(peer.delegates.size(), static_cast<std::size_t>(P::set::in::count)) << P::set::name;
        EXPECT_TRUE(serve(P::unset::name, "").decoded);
        EXPECT_EQ(peer.delegates.size(), 0U) << P::unset::name;
        ++pairs;
    });
    EXPECT_EQ(pairs, 24);
}

TEST_F(AgentStub, RefusesADelegateOfAnotherType)
{
    const Bytes other = int32(master::nick_changed_cb::id) + int32(1) + Bytes(1, '\0');
    EXPECT_FALSE(serve("set_status_changed_cb", other).decoded);
    EXPECT_TRUE(peer.delegates.empty());
}

TEST_F(AgentStub, AnswersStartAsyncWithOneEvent)
{
    const Served answer = serve("start_async", text("") + int32(0) + int32(0) + int32(27) + int32(5) + "\1");
    EXPECT_EQ(bytes_of(answer.reply.get()), int32(0) + int32(0));
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(bytes_of(events[0].parcel.get()), int32(1) + int32(27) + int32(5) + "\1" + int32(0));
    EXPECT_TRUE(state.running);
    EXPECT_EQ(peer.delegates.size(), 1U);
    peer.fired(events[0].delegate);
    EXPECT_TRUE(peer.delegates.empty());
}

TEST_F(AgentStub, ReportsWhetherAnUpdateIsReady)
{
    EXPECT_EQ(bytes_of(serve("is_update_ready", "").reply.get()), int32(0) + Bytes(1, '\0') + int32(0));
    state.update_ready = true;
    EXPECT_EQ(bytes_of(serve("is_update_ready", "").reply.get()), int32(0) + "\1" + int32(0));
}

TEST_F(AgentStub, StoresTheApiVersionOfAPeer)
{
    serve("set_api_version", int32(2) + int32(3) + int32(3));
    EXPECT_EQ(peer.api_version, (std::array{2, 3, 3}));
}

TEST_F(AgentStub, ChangesNothingIfAFaultSetsTheResult)
{
    const Served answer = serve("start", text("") + int32(0) + int32(0), {.result = -13});
    EXPECT_EQ(bytes_of(answer.reply.get()), int32(0) + int32(-13));
    EXPECT_FALSE(state.running);
}

TEST_F(AgentStub, LimitsTheNumberOfSubDevices)
{
    for (int i = 0; i < 2000; ++i)
        serve("register_sub_device", int32(i) + text("id"));
    EXPECT_LE(state.sub_devices.size(), 1024U);
}

TEST(AgentDeviceId, IsAUuidThatDoesNotChange)
{
    const std::string id = device_id_of_this_machine();
    EXPECT_TRUE(g_uuid_string_is_valid(id.c_str())) << id;
    EXPECT_EQ(id.size(), 36U);
    EXPECT_EQ(id, device_id_of_this_machine());
}

Event event(const char *name, const char *values)
{
    const EventEntry *entry = find_event(name);
    return event_for({entry->id, 9, false}, *entry->decode(Json::parse(values).get()));
}

TEST(AgentEvents, CarryTheirValuesInOrder)
{
    const Bytes head = int32(1) + int32(16) + int32(9) + Bytes(1, '\0');
    EXPECT_EQ(bytes_of(event("provisioning_language_cb", R"([4,"type","en_GB"])").parcel.get()),
              head + int32(4) + text("type") + text("en_GB"));
}

TEST(AgentEvents, CarryRecordsAndArrays)
{
    EXPECT_EQ(bytes_of(event("wifi_ap_provisioning_cb", R"([{"ssid":"home","pwd":"p","channel":11}])").parcel.get()),
              int32(1) + int32(7) + int32(9) + Bytes(1, '\0') + text("home") + text("p") + int32(0) + int32(0) +
                  int32(11) + text("") + int32(0) + int32(0));
    EXPECT_EQ(bytes_of(event("cloud_device_list_cb", R"([[{"device_id":"a"},{"device_id":"b"}]])").parcel.get()),
              int32(1) + int32(13) + int32(9) + Bytes(1, '\0') + int32(2) + text("a") + text("b"));
}

TEST(AgentEvents, AreRefusedWithWrongValues)
{
    EXPECT_EQ(all_events().size(), 32U);
    for (const char *values : {"[]", "[1,2]", "{}", "7", R"(["1"])", "[1.5]", "[1e99]", "[null]", "[true]"})
        EXPECT_THROW(event("status_changed_cb", values), std::invalid_argument) << values;
    for (const char *values : {"[1]", R"([{"name":"no such field"}])", R"([{"ssid":1}])"})
        EXPECT_THROW(event("wifi_ap_provisioning_cb", values), std::invalid_argument) << values;
}

TEST(AgentVersions, AreParsedIfTheyExist)
{
    for (const char *known : {"1.0", "1.6", "2.0", "2.3", "2.3.17"})
        EXPECT_EQ(Version::parse(known).text(), known);
    EXPECT_EQ(Version::parse("1.6.2").number(), 1006);
    for (const char *other : {"", "2", "2.", "2.4", "1.7", "0.9", "3.0", "02.3", "2.3.", "2.3.1.1", "2.3x", " 2.3"})
        EXPECT_THROW(Version::parse(other), std::invalid_argument) << other;
}

} // namespace
