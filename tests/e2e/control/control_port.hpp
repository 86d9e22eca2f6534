// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "control_client.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kv::test {

/// An agent that also serves a TCP port.
class ControlPort : public testing::Test {
protected:
    ControlConnection connect() const { return ControlConnection{port}; }
    ControlConnection connect_with_token() const
    {
        ControlConnection connection{port};
        connection.authorization = "Authorization: Bearer " + token + "\r\n";
        return connection;
    }

    AgentHome home;
    const std::string token = "a-token-for-tests";
    AgentProcess agent{home, {"--http", "0", "--http-token", token}};
    const int port = std::atoi(control_file(home).at("http.port").c_str());
};

} // namespace kv::test
