// SPDX-License-Identifier: Apache-2.0
// Unusual texts. Each must reach the agent unchanged, or be refused before anything is sent.
#include "conformance/fixtures/every_registration.hpp"
#include "conformance/setup/ap_info_fixture.hpp"
#include "text_arguments.hpp"

#include <fstream>
#include <iterator>
#include <map>

namespace kv::test {
namespace {

/// Lone continuation bytes, an overlong form, a surrogate, a cut sequence, bytes that never occur.
const char *const not_utf8 = "\x80\xbf \xc0\xaf \xed\xa0\x80 \xf0\x9f\x98 \xfe\xff";

class HostileText : public SetupTest, public ::testing::WithParamInterface<TextArgument> {
protected:
    const TextArgument &row = GetParam();

    /// Passes a text to an agent of this version and expects it in the only request.
    void expect_sent_as_it_is(const std::string &version, const std::string &text)
    {
        const bool json = row.json_since > 0 && version_number(version) >= row.json_since;
        SCOPED_TRACE(version + (json ? ", in a document" : ", as a text") + ", " + std::to_string(text.size()) +
                     " bytes");
        connect_to(version);
        EXPECT_EQ(row.pass(handle, text.c_str()), ok);
        ASSERT_EQ(sent().size(), 1U);
        EXPECT_TRUE(contains(sent()[0], json ? raw(member(row.key, text)) : str(text)));
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }

    /// Passes a text in every wire format of the argument.
    void expect_sent_in_each_form(const std::string &text)
    {
        expect_sent_as_it_is("2.3", text);
        if (row.json_since > row.minimum_version)
            expect_sent_as_it_is(row.minimum_version == 0 ? "1.0" : "1.1", text);
    }
};

INSTANTIATE_TEST_SUITE_P(Of, HostileText, ::testing::ValuesIn(text_arguments()),
                         [](const auto &row) { return row.param.label(); });

TEST(TextArguments, CoverEveryFunctionOfTheHeaderThatTakesAText)
{
    std::ifstream file(KORVANE_HEADER);
    const std::string header{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(header.empty());
    std::map<std::string, int> declared; // the number of text arguments by function
    const std::string begin = "\nKORVANE_API int ";
    const std::string text = "const char *";
    for (std::size_t at = header.find(begin); at != std::string::npos; at = header.find(begin, at + 1)) {
        const std::size_t name = at + begin.size();
        const std::string one = header.substr(name, header.find(';', name) - name);
        for (std::size_t found = one.find(text); found != std::string::npos; found = one.find(text, found + 1))
            ++declared[one.substr(0, one.find('('))];
    }
    std::map<std::string, int> covered;
    for (const TextArgument &row : text_arguments())
        ++covered[row.function];
    EXPECT_EQ(covered, declared);
}

TEST_P(HostileText, ThatIsEmptyIsSentOrRefused)
{
    if (!row.is_refused_when_empty)
        return expect_sent_in_each_form("");
    connect_to("2.3");
    EXPECT_EQ(row.pass(handle, ""), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(sent().empty());
}

TEST_P(HostileText, OfAMegabyteIsSent)
{
    expect_sent_in_each_form(std::string(1 << 20, 'x'));
}

TEST_P(HostileText, ThatIsNotUtf8IsSentUnchanged)
{
    expect_sent_in_each_form(not_utf8);
}

/// The log must not interpret a text as a format, nor end the line at a line feed in it.
TEST_P(HostileText, IsNotUsedAsALogFormat)
{
    const std::string text = "%s%n%p %d %%";
    expect_sent_in_each_form(text);
    connect_to("2.3");
    platform.log.clear();
    EXPECT_EQ(row.pass(handle, text.c_str()), ok);
    if (!row.line.empty()) {
        EXPECT_EQ(platform.log.count(row.line_with(text)), 1U);
    }
}

/// An event with the same text in all its places, and what the application receives.
struct EventText {
    int delegate_id;
    Bytes (*values)(const std::string &text);
    std::string (*seen)(const std::string &text);
};

std::ostream &operator<<(std::ostream &out, const EventText &row)
{
    return out << "delegate " << row.delegate_id;
}

using T = const std::string &;

// The texts of access point and provisioning data are read with getters, which have tests of their own.
// clang-format off
const std::vector<EventText> event_texts = {
    {.delegate_id = 5, .values = [](T t) { return bytes(str(t), i32(1)); },
     .seen = [](T t) { return "g " + t + " 1"; }},
    {.delegate_id = 11, .values = [](T t) { return bytes(str(t), i32(1)); },
     .seen = [](T t) { return "u " + t + " 1"; }},
    {.delegate_id = 13, .values = [](T t) { return bytes(count(2), str(t), str(t)); },
     .seen = [](T t) { return "C 2: " + t + " " + t; }},
    {.delegate_id = 15, .values = [](T t) { return bytes(i32(1), str(t)); }, .seen = [](T t) { return "v 1 " + t; }},
    {.delegate_id = 16, .values = [](T t) { return bytes(i32(1), str(t), str(t)); },
     .seen = [](T t) { return "l 1 " + t + " " + t; }},
    {.delegate_id = 17, .values = [](T t) { return str(t); }, .seen = [](T t) { return "T " + t; }},
    {.delegate_id = 19, .values = [](T t) { return bytes(i32(1), str(t)); }, .seen = [](T t) { return "N 1 " + t; }},
    {.delegate_id = 20, .values = [](T t) { return str(t); }, .seen = [](T t) { return "L " + t; }},
    {.delegate_id = 25, .values = [](T t) { return bytes(str(t), i32(1)); },
     .seen = [](T t) { return "r " + t + " 1"; }},
    {.delegate_id = 31, .values = [](T t) { return bytes(i32(1), str(t)); }, .seen = [](T t) { return "G 1 " + t; }},
};
// clang-format on

class HostileEventText : public SetupTest, public ::testing::WithParamInterface<EventText> {};

INSTANTIATE_TEST_SUITE_P(Of, HostileEventText, ::testing::ValuesIn(event_texts),
                         [](const auto &row) { return "Delegate" + std::to_string(row.param.delegate_id); });

TEST_P(HostileEventText, ReachesTheCallbackUnchanged)
{
    const EventText &row = GetParam();
    connect_to("2.3");
    for (const Registration &registration : every_registration())
        for (std::size_t i = 0; i < registration.events.size(); ++i) {
            if (registration.events[i].delegate_id != row.delegate_id)
                continue;
            ASSERT_EQ(registration.set(handle, &recorder), ok);
            const int seq_id = last_seq_id(platform.log) + 1 - static_cast<int>(registration.events.size() - i);
            std::vector<std::string> seen;
            for (const std::string &text : {std::string(), std::string(1 << 20, 'x'), std::string(not_utf8),
                                            std::string("%s%n\x01\x1f\x7f\"\\")}) {
                platform.proxy().push_event(event(row.delegate_id, seq_id, false, row.values(text)));
                seen.push_back(row.seen(text));
            }
            EXPECT_EQ(recorder.seen, seen);
        }
    EXPECT_EQ(recorder.seen.size(), 4U);
}

using AgentsText = WifiAp;

TEST_F(AgentsText, OfCertificatesGroupsAndTheDeviceIdReachTheApplicationUnchanged)
{
    connect_to("2.3");
    for (const std::string &text : {std::string(), std::string(1 << 20, 'x'), std::string(not_utf8)}) {
        recorder.seen.clear();
        ASSERT_EQ(korvane_get_group_id(handle, Note<'g', const char *>::call, &recorder), ok);
        platform.proxy().push_event(event(26, last_seq_id(platform.log), true, str(text)));
        ASSERT_EQ(korvane_create_hdr_certificate(handle, "t", "c", Note<'c', int, const char *>::call, &recorder), ok);
        platform.proxy().push_event(event(29, last_seq_id(platform.log), true, i32(0), str(text)));
        ASSERT_EQ(
            korvane_get_hdr_certificate(handle, "t", "a", Note<'h', int, const char *, const char *>::call, &recorder),
            ok);
        platform.proxy().push_event(event(30, last_seq_id(platform.log), true, i32(0), str(text), str(text)));
        EXPECT_EQ(recorder.seen, (Strings{"g " + text, "c 0 " + text, "h 0 " + text + " " + text}));

        platform.main_port().on_sent = [&](Port &port, const Bytes &) { port.push(reply(0, str(text))); };
        char *device_id = nullptr;
        EXPECT_EQ(korvane_get_device_id(handle, &device_id), ok);
        EXPECT_EQ(device_id, text);
        free(device_id);
        answers(0);
    }
}

/// Network names consist of up to 32 bytes of any value except NUL.

/// Names of 32 bytes that together contain all values from 1 to 255.
std::vector<std::string> network_names()
{
    std::vector<std::string> names;
    for (int first = 1; first < 256; first += 32) {
        std::string name;
        for (int byte = first; byte < first + 32; ++byte)
            name += static_cast<char>(byte < 256 ? byte : '"');
        names.push_back(name);
    }
    return names;
}

/// Escapes a text for a document: RFC 8259 has short forms for some control characters, and numbers for the others.
std::string escaped(const std::string &text)
{
    const std::map<char, std::string> named = {{'"', "\\\""}, {'\\', "\\\\"}, {'\b', "\\b"}, {'\f', "\\f"},
                                               {'\n', "\\n"}, {'\r', "\\r"},  {'\t', "\\t"}};
    std::string result;
    for (char byte : text) {
        if (auto found = named.find(byte); found != named.end()) {
            result += found->second;
        } else if (const auto code = static_cast<unsigned char>(byte); code < 32) {
            char number[8];
            std::snprintf(number, sizeof number, "\\u%04x", static_cast<unsigned>(code));
            result += number;
        } else {
            result += byte;
        }
    }
    return result;
}

using NetworkName = WifiAp;

TEST_F(NetworkName, OfAny32BytesIsSentInBothFormsOfAnApList)
{
    for (const char *version : {"1.0", "2.3"}) {
        const std::vector<std::string> names = network_names();
        connect_to(version);
        korvane_aplist_h list = nullptr;
        ASSERT_EQ(korvane_aplist_create(&list, static_cast<int>(names.size())), ok);
        Bytes records;
        std::string entries;
        for (std::size_t i = 0; i < names.size(); ++i) {
            EXPECT_EQ(names[i].size(), 32U);
            EXPECT_EQ(korvane_aplist_set_ssid(list, static_cast<int>(i), names[i].c_str()), ok);
            records = bytes(records, str(names[i]), str(""), i32(0), i32(0), i32(0), str(""), i32(0), i32(0));
            entries += (i ? ",{" : "{") + std::string(R"("ssid":")") + escaped(names[i]) + "\"}";
        }
        EXPECT_EQ(korvane_send_ap_list(handle, list, 5), ok);
        const Bytes as_records = bytes(i32(25), i32(5), count(static_cast<int>(names.size())), records);
        const Bytes as_document =
            bytes(i32(102), str(R"({"ap_list_array":[)" + entries + R"(],"common_interface":6,"req_id":5})"));
        EXPECT_EQ(sent(), std::vector<Bytes>{std::string(version) == "1.0" ? as_records : as_document});
        EXPECT_EQ(korvane_aplist_destroy(list), ok);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(NetworkName, OfAny32BytesIsReadFromBothFormsOfAnEvent)
{
    for (const char *version : {"1.0", "2.3"}) {
        begin_set(version);
        for (const std::string &name : network_names()) {
            std::string(version) == "1.0" ? push_record(name)
                                          : push_document(R"({"ap_ssid":")" + escaped(name) + "\"}");
            EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, name}));
        }
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

/// The longest list of a scan, with every member set.
TEST_F(NetworkName, OfTwoHundredCompleteAccessPointsIsSentInBothForms)
{
    constexpr int many = 200;
    for (const char *version : {"1.0", "2.3"}) {
        const bool document = std::string(version) == "2.3";
        connect_to(version);
        korvane_aplist_h list = nullptr;
        ASSERT_EQ(korvane_aplist_create(&list, many), ok);
        Bytes records;
        std::string entries;
        for (int i = 0; i < many; ++i) {
            const std::string name = "network " + std::to_string(i);
            const std::string bssid = "02:00:00:00:00:" + std::to_string(i);
            EXPECT_EQ(korvane_aplist_set_ssid(list, i, name.c_str()), ok);
            EXPECT_EQ(korvane_aplist_set_bssid(list, i, bssid.c_str()), ok);
            EXPECT_EQ(korvane_aplist_set_authtype(list, i, 1), ok);
            EXPECT_EQ(korvane_aplist_set_enctype(list, i, 2), ok);
            EXPECT_EQ(korvane_aplist_set_channel(list, i, i), ok);
            EXPECT_EQ(korvane_aplist_set_signal_level(list, i, -i), ok);
            EXPECT_EQ(korvane_aplist_set_max_rate(list, i, 54), ok);
            EXPECT_EQ(korvane_aplist_set_frequency(list, i, 5000 + i), document ? ok : version_lower);
            const std::string n = std::to_string(i);
            records = bytes(records, str(name), str(""), i32(1), i32(2), i32(i), str(bssid), i32(-i), i32(54));
            entries += (i ? "," : "") + std::string(R"({"ssid":")") + name + R"(","bssid":")" + bssid +
                       R"(","authtype":1,"enctype":2,"channel":)" + n + R"(,"signal_level":)" + std::to_string(-i) +
                       R"(,"max_rate":54,"frequency":)" + std::to_string(5000 + i) + "}";
        }
        EXPECT_EQ(korvane_send_ap_list(handle, list, 5), ok);
        EXPECT_EQ(sent(), std::vector<Bytes>{document ? bytes(i32(102), str(R"({"ap_list_array":[)" + entries +
                                                                            R"(],"common_interface":6,"req_id":5})"))
                                                      : bytes(i32(25), i32(5), count(many), records)});
        EXPECT_EQ(korvane_aplist_destroy(list), ok);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

} // namespace
} // namespace kv::test
