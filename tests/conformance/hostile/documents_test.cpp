// SPDX-License-Identifier: Apache-2.0
// Malformed documents from the agent. Every kind of document is tested with the same faults.
#include "document_kinds.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

constexpr int ok = KORVANE_ERROR_NONE;
constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;
constexpr int highest = 2147483647;
constexpr int lowest = -2147483647 - 1;
constexpr int refused = KORVANE_ERROR_INVALID_PARAMETER;

std::string repeated(const std::string &text, int times)
{
    std::string whole;
    for (int i = 0; i < times; ++i)
        whole += text;
    return whole;
}

std::string nested_arrays(int deep)
{
    return repeated("[", deep) + repeated("]", deep);
}
std::string nested_objects(int deep)
{
    return repeated(R"({"a":)", deep) + "1" + repeated("}", deep);
}

class HostileDocument : public SetupTest, public ::testing::WithParamInterface<DocumentKind> {
protected:
    void SetUp() override
    {
        SetupTest::SetUp();
        connect_to("2.3");
    }

    const DocumentKind &kind = GetParam();

    void with(const std::string &text, const DocumentUse &use)
    {
        SCOPED_TRACE(text.substr(0, 60));
        int used = 0;
        kind.arrive(handle, text, [&](void *document) {
            ++used;
            use(document);
        });
        EXPECT_EQ(used, 1);
        answers(0);
        platform.log.clear();
        platform.calls.clear();
    }

    /// A document with good values of all members, except that `key` has this value, or is missing if it is empty.
    std::string document_but(const std::string &key, const std::string &value)
    {
        std::string members;
        for (const Member &member : kind.members) {
            const std::string good = member.text ? "\"good\"" : "7";
            if (member.key == key && value.empty())
                continue;
            members += (members.empty() ? "\"" : ",\"") + member.key + "\":" + (member.key == key ? value : good);
        }
        return "{" + members + "}";
    }

    static std::string shown(int code, const std::string &value) { return code == ok ? value : std::to_string(code); }

    /// Reads a member: its value, "(null)" for a null text, or the code of a failure. A failing getter must not write.
    static std::string read(const Member &member, void *document)
    {
        if (member.number) {
            int number = 4711;
            const int code = member.number(document, &number);
            EXPECT_TRUE(code == ok || number == 4711);
            return shown(code, std::to_string(number));
        }
        char untouched[] = "untouched";
        char *text = untouched;
        const int code = member.text(document, &text);
        EXPECT_TRUE(code == ok || text == untouched);
        const std::string value = shown(code, text ? text : "(null)");
        if (code == ok)
            free(text);
        return value;
    }

    static std::string good(const Member &member) { return member.text ? "good" : "7"; }
    void expect_every_member_reads(void *document, int code)
    {
        for (const Member &member : kind.members)
            EXPECT_EQ(read(member, document), std::to_string(code)) << member.key;
    }
};

INSTANTIATE_TEST_SUITE_P(Of, HostileDocument, ::testing::ValuesIn(document_kinds()),
                         [](const auto &row) { return row.param.label; });

TEST_P(HostileDocument, ThatIsCompleteIsRead)
{
    with(document_but("", ""), [&](void *document) {
        for (const Member &member : kind.members)
            EXPECT_EQ(read(member, document), good(member)) << member.key;
    });
}

TEST_P(HostileDocument, ThatDoesNotParseIsNullAndRefusedByItsGetters)
{
    for (const std::string &text :
         {std::string(), std::string(" "), std::string("{"), std::string("}"), std::string("no document"),
          std::string("{'a':1}"), std::string("{\"a\":}"), std::string("{\"a\":1"), std::string("{\"a\":\"\\u12\"}"),
          std::string("{\"a\":\"\\ud800\"}"), std::string("\xff\xfe"), std::string(1 << 20, 'x'),
          std::string(1 << 20, '['), "{\"a\":\"" + std::string(1 << 20, 'x')})
        with(text, [&](void *document) {
            EXPECT_EQ(document, nullptr);
            expect_every_member_reads(nullptr, refused);
        });
}

TEST_P(HostileDocument, NestedTenThousandDeepIsNull)
{
    constexpr int deep = 10'000;
    const std::string within = nested_objects(deep);
    for (const std::string &text :
         {nested_arrays(deep), nested_objects(deep), repeated("[", deep), repeated(R"({"a":)", deep),
          document_but(kind.members.front().key, within), document_but(kind.members.back().key, nested_arrays(deep))})
        with(text, [](void *document) { EXPECT_EQ(document, nullptr); });
}

TEST_P(HostileDocument, NestedInAMemberIsReadInTheOthers)
{
    constexpr int deep = 500;
    const Member &odd = kind.members.front();
    with(document_but(odd.key, nested_arrays(deep)), [&](void *document) {
        for (const Member &member : kind.members)
            EXPECT_EQ(read(member, document), &member == &odd ? "(null)" : good(member)) << member.key;
    });
}

TEST_P(HostileDocument, ThatIsNotAnObjectHasNoMembers)
{
    for (const char *text : {"5", "\"ap_ssid\"", "null", "true", "[]", "[{}]", "[\"uuid\"]"})
        with(text, [&](void *document) {
            EXPECT_EQ(document == nullptr, kind.other_values_are_null);
            expect_every_member_reads(document, document ? failed : refused);
        });
}

TEST_P(HostileDocument, WithoutAnyMemberFailsEveryGetter)
{
    for (const char *text : {"{}", R"({"other":1})", R"({"":""})"})
        with(text, [&](void *document) { expect_every_member_reads(document, failed); });
}

TEST_P(HostileDocument, WithoutAMemberFailsOnlyItsGetter)
{
    for (const Member &missing : kind.members)
        with(document_but(missing.key, ""), [&](void *document) {
            for (const Member &member : kind.members)
                EXPECT_EQ(read(member, document), &member == &missing ? std::to_string(failed) : good(member))
                    << member.key << " without " << missing.key;
        });
}

TEST_P(HostileDocument, WithAMemberOfAnotherTypeReadsItAsNullOrAsAnInteger)
{
    // The parser converts values that are not numbers to an integer: true to 1, others to 0.
    const std::pair<const char *, const char *> wrong_texts[] = {
        {"5", "(null)"}, {"null", "(null)"}, {"true", "(null)"}, {"[\"x\"]", "(null)"}, {"{\"x\":1}", "(null)"}};
    const std::pair<const char *, const char *> wrong_numbers[] = {{"\"5\"", "0"}, {"null", "0"}, {"true", "1"},
                                                                   {"false", "0"}, {"[5]", "0"},  {"{\"x\":5}", "0"}};
    for (const Member &odd : kind.members) {
        const auto try_each = [&](const auto &wrongs) {
            for (const auto &[value, expected] : wrongs)
                with(document_but(odd.key, value), [&, expected = expected](void *document) {
                    for (const Member &member : kind.members)
                        EXPECT_EQ(read(member, document), &member == &odd ? expected : good(member)) << member.key;
                });
        };
        odd.text ? try_each(wrong_texts) : try_each(wrong_numbers);
    }
}

TEST_P(HostileDocument, WithANumberBeyond32BitsIsClamped)
{
    const std::pair<const char *, int> numbers[] = {
        {"2147483647", highest}, {"2147483648", highest}, {"4294967295", highest}, {"1e300", highest},
        {"-2147483648", lowest}, {"-2147483649", lowest}, {"-1e300", lowest},      {"6.9", 6}};
    for (const Member &member : kind.members)
        for (const auto &[text, expected] : numbers)
            if (member.number)
                with(document_but(member.key, text), [&, expected = expected](void *document) {
                    EXPECT_EQ(read(member, document), std::to_string(expected)) << member.key;
                });
}

TEST_P(HostileDocument, OfAMegabyteIsRead)
{
    const std::string huge(1 << 20, 'x');
    const Member &member = kind.members.front();
    with(document_but(member.key, "\"" + huge + "\""),
         [&](void *document) { EXPECT_EQ(read(member, document), huge); });
    with(document_but("", "").insert(1, "\"other\":\"" + huge + "\","),
         [&](void *document) { EXPECT_EQ(read(member, document), "good"); });
}

TEST_P(HostileDocument, WithATextThatIsNotUtf8ReturnsItsBytes)
{
    const Member &member = kind.members.front();
    with(document_but(member.key, "\"\xff\xc0\x80\""),
         [&](void *document) { EXPECT_EQ(read(member, document), "\xff\xc0\x80"); });
}

/// The presence of sub-devices is a list. The library returns all of it or nothing.
class HostileList : public SetupTest {
protected:
    int receive(const std::string &text)
    {
        platform.main_port().on_sent = [&](Port &port, const Bytes &) { port.push(reply(0, str(text))); };
        list = nullptr;
        items = 4711;
        return korvane_get_sub_device_presence_list(handle, &list, &items);
    }

    korvane_sub_dev_prs_h *list = nullptr;
    int items = 0;
};

TEST_F(HostileList, ThatIsNotAListOfDevicesFailsAndWritesNothing)
{
    connect_to("2.3");
    const std::string good = R"({"di":"a","prs":1})";
    for (const std::string &text : std::vector<std::string>{"",
                                                            " ",
                                                            "[",
                                                            "no list",
                                                            "{}",
                                                            "5",
                                                            "null",
                                                            "\"[]\"",
                                                            good,
                                                            "\xff",
                                                            std::string(1 << 20, '['),
                                                            std::string(1 << 20, 'x'),
                                                            nested_arrays(10'000),
                                                            nested_objects(10'000),
                                                            "[" + nested_arrays(9'999) + "]",
                                                            "[" + good + "," + nested_objects(10'000) + "]",
                                                            "[" + good + ",5]",
                                                            "[" + good + ",{}]",
                                                            "[" + good + R"(,{"di":"b"}])",
                                                            "[" + good + R"(,{"prs":1}])",
                                                            "[" + good + R"(,{"di":1,"prs":1}])",
                                                            "[" + good + R"(,{"di":null,"prs":1}])",
                                                            "[" + good + R"(,{"di":"b","prs":"1"}])",
                                                            "[" + good + R"(,{"di":"b","prs":null}])",
                                                            "[" + good + R"(,{"di":"b","prs":true}])"}) {
        SCOPED_TRACE(text.substr(0, 60));
        EXPECT_EQ(receive(text), failed);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(items, 4711);
        EXPECT_EQ(platform.log.errors().size(), 1U);
        platform.log.clear();
    }
    EXPECT_EQ(receive("[]"), KORVANE_ERROR_NO_DATA);
    EXPECT_EQ(items, 4711);
}

TEST_F(HostileList, WithHugeAndUnusualMembersIsRead)
{
    connect_to("2.3");
    const std::string huge(1 << 20, 'd');
    ASSERT_EQ(receive(R"([{"prs":4294967296,"di":")" + huge + R"(","more":)" + nested_arrays(100) +
                      R"(},{"di":"","prs":-1e99}])"),
              ok);
    ASSERT_EQ(items, 2);
    const std::pair<std::string, int> expected[] = {{huge, highest}, {"", lowest}};
    for (int i = 0; i < items; ++i) {
        char *device_id = nullptr;
        int presence = 0;
        EXPECT_EQ(korvane_get_sub_device_presence(list[i], &device_id, &presence), ok);
        EXPECT_EQ(device_id, expected[i].first);
        EXPECT_EQ(presence, expected[i].second);
        free(device_id);
    }
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
}

} // namespace
} // namespace kv::test
