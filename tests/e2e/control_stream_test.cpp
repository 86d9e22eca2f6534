// SPDX-License-Identifier: Apache-2.0
// The journal as a stream: who reads along, and who reads too slowly.
#include "control_client.hpp"
#include "wire_client.hpp"

#include <gtest/gtest.h>

using namespace kv::test;

namespace {

class ControlStream : public testing::Test {
protected:
    /// The stream from an entry on; from now on without one.
    ControlConnection open(const std::string &query = {})
    {
        ControlConnection stream{home};
        const Response response = stream.upgrade("/v1/stream" + query);
        EXPECT_EQ(response.status, 101) << response.body;
        EXPECT_TRUE(response.has_header("Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=")) << response.head;
        return stream;
    }

    /// Whatever changes something is noted.
    void note_something() { EXPECT_EQ(ControlConnection{home}.post("clock", R"({"what":"run"})").status, 200); }

    AgentHome home;
    AgentProcess agent{home};
};

TEST_F(ControlStream, BringsEachEntryFromNowOn)
{
    note_something();
    ControlConnection stream = open();
    note_something();
    const Frame frame = stream.next_frame();
    EXPECT_EQ(frame.opcode, 1);
    const Document entry{frame.payload};
    EXPECT_EQ(entry.at("seq"), "3") << "after the agent's being ready and the first command";
    EXPECT_EQ(entry.at("command"), "clock");
    EXPECT_EQ(entry.at("ok"), "true");
    EXPECT_EQ(home.journal().back(), frame.payload) << "the log says the same";
}

TEST_F(ControlStream, BringsWhatWasBeforeWhenAsked)
{
    note_something();
    ControlConnection stream = open("?since=1");
    EXPECT_EQ(Document{stream.next_frame().payload}.at("agent"), "ready");
    EXPECT_EQ(Document{stream.next_frame().payload}.at("seq"), "2");
    EXPECT_EQ(Document{open("?since=2").next_frame().payload}.at("seq"), "2");
    note_something();
    EXPECT_EQ(Document{open("?since=3").next_frame().payload}.at("seq"), "3");
}

TEST_F(ControlStream, GoesOnWhenTheJournalIsCleared)
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
    stream.send_frame(1, std::string(65536, 'x')); // which means nothing, but may be said
    note_something();
    EXPECT_EQ(stream.next_frame().opcode, 1);
    stream.send_frame(1, std::string(65537, 'x'));
    const Frame end = stream.next_frame();
    EXPECT_EQ(end.close_code(), 1009) << end.opcode << " " << end.payload;
}

TEST_F(ControlStream, SurvivesReadersThatSayNonsenseOrGo)
{
    for (const char *nonsense : {"GET / HTTP/1.1\r\n\r\n", "\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff", "\x81"}) {
        ControlConnection stream = open();
        stream.send(nonsense);
        note_something();
    }
    ControlConnection stream = open();
    note_something();
    EXPECT_EQ(stream.next_frame().opcode, 1);
}

TEST_F(ControlStream, LeavesAReaderThatDoesNotReadAndServesTheOthers)
{
    ControlConnection slow = open();
    ControlConnection good = open();
    Client application;
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(Document{good.next_frame().payload}.at("connection"), "connected");

    // More than 8 MiB of entries of more than 1 KiB each.
    constexpr int requests = 8000;
    const Bytes request = int32(77) + int32(1024) + std::string(1024, 'x');
    for (int i = 0; i < requests; ++i) {
        ASSERT_EQ(application.ask(request), int32(0) + int32(0)) << i;
        const Document entry{good.next_frame().payload};
        ASSERT_EQ(entry.at("method"), "set_device_name") << i;
        ASSERT_EQ(entry.at("seq"), std::to_string(i + 3));
    }

    int brought = 0;
    Frame last;
    for (last = slow.next_frame(); last.opcode == 1; last = slow.next_frame())
        ASSERT_EQ(Document{last.payload}.at("seq"), std::to_string(++brought + 1)) << "none is left out";
    EXPECT_LT(brought, requests);
    EXPECT_EQ(last.close_code(), 1008);
    EXPECT_EQ(last.payload.substr(2), "too slow: more than 10000 entries or 8 MiB behind");
    note_something();
    EXPECT_EQ(Document{good.next_frame().payload}.at("command"), "clock");
}

} // namespace
