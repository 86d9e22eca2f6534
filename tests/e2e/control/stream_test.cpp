// SPDX-License-Identifier: Apache-2.0
// The journal as a WebSocket stream, also for clients that read too slowly.
#include "control_client.hpp"
#include "e2e/fixtures/wire_client.hpp"

#include <gtest/gtest.h>

using namespace kv::test;

namespace {

class ControlStream : public testing::Test {
protected:
    /// Opens the stream; `query` can name the first entry, otherwise only new ones are sent.
    ControlConnection open(const std::string &query = {})
    {
        ControlConnection stream{home};
        const Response response = stream.upgrade("/v1/stream" + query);
        EXPECT_EQ(response.status, http::switching_protocols) << response.body;
        EXPECT_TRUE(response.has_header("Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=")) << response.head;
        return stream;
    }

    /// Adds an entry to the journal: each command that changes something has one.
    void add_entry() { EXPECT_EQ(ControlConnection{home}.post("clock", R"({"what":"run"})").status, http::ok); }

    AgentHome home;
    AgentProcess agent{home};
};

TEST_F(ControlStream, SendsEachNewEntry)
{
    add_entry();
    ControlConnection stream = open();
    add_entry();
    const Frame frame = stream.next_frame();
    EXPECT_EQ(frame.opcode, 1);
    const Document entry{frame.payload};
    EXPECT_EQ(entry.at("seq"), "3") << "after the agent's start and the first command";
    EXPECT_EQ(entry.at("command"), "clock");
    EXPECT_EQ(entry.at("ok"), "true");
    EXPECT_EQ(home.journal().back(), frame.payload) << "the same line as in the log";
}

TEST_F(ControlStream, SendsEarlierEntriesOnRequest)
{
    add_entry();
    ControlConnection stream = open("?since=1");
    EXPECT_EQ(Document{stream.next_frame().payload}.at("agent"), "ready");
    EXPECT_EQ(Document{stream.next_frame().payload}.at("seq"), "2");
    EXPECT_EQ(Document{open("?since=2").next_frame().payload}.at("seq"), "2");
    add_entry();
    EXPECT_EQ(Document{open("?since=3").next_frame().payload}.at("seq"), "3");
}

TEST_F(ControlStream, ContinuesWhenTheJournalIsCleared)
{
    ControlConnection stream = open("?since=1");
    EXPECT_EQ(Document{stream.next_frame().payload}.at("seq"), "1");
    ControlConnection{home}.post("clear");
    const Document entry{stream.next_frame().payload};
    EXPECT_EQ(entry.at("seq"), "2");
    EXPECT_EQ(entry.at("command"), "clear");
}

TEST_F(ControlStream, AnswersAPingAndRefusesLongMessages)
{
    ControlConnection stream = open();
    stream.send_frame(9, "are you there?");
    const Frame pong = stream.next_frame();
    EXPECT_EQ(pong.opcode, 10);
    EXPECT_EQ(pong.payload, "are you there?");
    stream.send_frame(1, std::string(65536, 'x')); // has no meaning, but is accepted
    add_entry();
    EXPECT_EQ(stream.next_frame().opcode, 1);
    stream.send_frame(1, std::string(65537, 'x'));
    const Frame end = stream.next_frame();
    EXPECT_EQ(end.close_code(), 1009) << end.opcode << " " << end.payload;
}

TEST_F(ControlStream, SurvivesClientsThatSendNonsenseOrDisconnect)
{
    for (const char *nonsense : {"GET / HTTP/1.1\r\n\r\n", "\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff", "\x81"}) {
        ControlConnection stream = open();
        stream.send(nonsense);
        add_entry();
    }
    ControlConnection stream = open();
    add_entry();
    EXPECT_EQ(stream.next_frame().opcode, 1);
}

TEST_F(ControlStream, DisconnectsAClientThatDoesNotReadAndServesTheOthers)
{
    ControlConnection slow = open();
    ControlConnection reader = open();
    Client application;
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(Document{reader.next_frame().payload}.at("connection"), "connected");

    // More than 8 MiB of entries of more than 1 KiB each.
    constexpr int requests = 8000;
    constexpr int at_once = 100;
    const Bytes request = int32(77) + int32(1024) + std::string(1024, 'x');
    for (int first = 0; first < requests; first += at_once) {
        ASSERT_TRUE(application.exchange_all(request, at_once, int32(0) + int32(0))) << first;
        for (int i = first; i < first + at_once; ++i) {
            const Document entry{reader.next_frame().payload};
            ASSERT_EQ(entry.at("method"), "set_device_name") << i;
            ASSERT_EQ(entry.at("seq"), std::to_string(i + 3));
        }
    }

    int received = 0;
    Frame last;
    for (last = slow.next_frame(); last.opcode == 1; last = slow.next_frame())
        ASSERT_EQ(Document{last.payload}.at("seq"), std::to_string(++received + 1)) << "without gaps";
    EXPECT_LT(received, requests);
    EXPECT_EQ(last.close_code(), 1008);
    EXPECT_EQ(last.payload.substr(2), "too slow: more than 10000 entries or 8 MiB behind");
    add_entry();
    EXPECT_EQ(Document{reader.next_frame().payload}.at("command"), "clock");
}

} // namespace
