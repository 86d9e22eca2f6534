// SPDX-License-Identifier: Apache-2.0
// The agent's port, used by a client that sends and receives bytes. The library is not involved, because it sends no
// request that the agent does not support.
#include "e2e/fixtures/application.hpp"
#include "e2e/fixtures/wire_client.hpp"

#include <gtest/gtest.h>

#include <list>

using namespace kv::test;

namespace {

TEST(AgentWire, RefusesMethodsOfLaterVersions)
{
    AgentHome home;
    AgentProcess agent{home, {"--agent-version", "1.3"}};
    Client client;
    ASSERT_TRUE(client.connect());
    EXPECT_EQ(client.exchange(int32(88)), int32(0) + Bytes(1, '\0') + int32(-1)) << "get_signin_status, since 1.4";
    EXPECT_EQ(client.exchange(int32(101) + int32(0) + int32(0) + int32(0) + int32(27) + int32(1) + "\1"),
              int32(0) + int32(-1))
        << "start_async, since 2.0";
    EXPECT_EQ(client.exchange(int32(66) + int32(1)), int32(0) + int32(0)) << "send_presence, since 1.3";
    EXPECT_EQ(home.count_in_journal({"agent 1.3 does not know this method"}), 2);
    EXPECT_NE(agent.reply_to("state").find(R"("running":false)"), std::string::npos);
}

TEST(AgentWire, RefusesUnknownMethodIds)
{
    AgentHome home;
    AgentProcess agent{home};
    Client client;
    ASSERT_TRUE(client.connect());
    for (int id : {0, 1, 5, 30, 31, 109, -1, 2147483647, -2147483647 - 1})
        EXPECT_EQ(client.exchange(int32(id)), int32(0) + int32(-1)) << id;
    EXPECT_EQ(home.count_in_journal({"unknown method id"}), 9);
    EXPECT_EQ(client.exchange(int32(4)), int32(0) + int32(0)) << "the link still works";
}

TEST(AgentWire, ClosesTheLinkOnAMalformedRequest)
{
    AgentHome home;
    AgentProcess agent{home};
    const Bytes start = int32(3) + int32(1) + "x" + int32(0) + int32(0);
    for (std::size_t size = 0; size < start.size(); ++size) {
        Client client;
        ASSERT_TRUE(client.connect()) << size;
        EXPECT_EQ(client.exchange(start.substr(0, size)), "closed") << size;
        EXPECT_TRUE(run_main_loop_until([&] { return !client.is_connected(); })) << size;
    }
    EXPECT_EQ(home.count_in_journal({R"("problem")"}), static_cast<int>(start.size()));
    Client client;
    ASSERT_TRUE(client.connect());
    EXPECT_EQ(client.exchange(start), int32(0) + int32(0));
}

TEST(AgentWire, ClosesTheLinkOnCountsAndLengthsBeyondTheEnd)
{
    AgentHome home;
    AgentProcess agent{home};
    for (const Bytes &request : {int32(77) + int32(2147483647) + "abc", int32(59) + int32(2147483647) + int32(0),
                                 int32(98) + int32(-1) + "\1", int32(25) + int32(1) + int32(2147483647)}) {
        Client client;
        ASSERT_TRUE(client.connect());
        EXPECT_EQ(client.exchange(request), "closed");
    }
    agent.run_command("state");
}

TEST(AgentWire, KeepsTheDelegatesOfEachPeerSeparate)
{
    AgentHome home;
    AgentProcess agent{home};
    Client first;
    Client second;
    ASSERT_TRUE(first.connect());
    ASSERT_TRUE(second.connect());
    const Bytes set = int32(6) + int32(1) + int32(1) + Bytes(1, '\0');
    EXPECT_EQ(first.exchange(set), int32(0) + int32(0));
    EXPECT_NE(agent.reply_to("emit status_changed_cb [1]").find(R"("peers":1)"), std::string::npos);
    EXPECT_EQ(second.exchange(set), int32(0) + int32(0));
    EXPECT_NE(agent.reply_to("emit status_changed_cb [1]").find(R"("peers":2)"), std::string::npos);
    EXPECT_EQ(first.exchange(int32(7)), int32(0) + int32(0));
    EXPECT_NE(agent.reply_to("emit status_changed_cb [1]").find(R"("peers":1)"), std::string::npos);
}

TEST(AgentWire, ServesTwoHundredPeersAtOnce)
{
    AgentHome home;
    AgentProcess agent{home};
    std::list<Client> clients(200);
    for (Client &client : clients)
        client.begin();
    ASSERT_TRUE(run_main_loop_until([&] {
        for (const Client &client : clients)
            if (!client.is_connected())
                return false;
        return true;
    }));
    for (int round = 0; round < 3; ++round) {
        for (Client &client : clients)
            EXPECT_TRUE(client.send(int32(4)));
        for (Client &client : clients)
            EXPECT_EQ(client.receive(), int32(0) + int32(0));
    }
    EXPECT_EQ(home.count_in_journal({R"("method":"stop")"}), 600);
}

} // namespace
