// SPDX-License-Identifier: Apache-2.0
#include "testing/support/read_file.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

namespace {

/// The identifiers of the headers that begin with "korvane_", without those in comments.
std::set<std::string> functions_in_headers()
{
    std::set<std::string> found;
    static const std::regex name{R"(\bkorvane_[a-z_]+\b)"};
    for (const auto &entry : std::filesystem::recursive_directory_iterator{KORVANE_CPP_HEADERS}) {
        if (!entry.is_regular_file())
            continue;
        std::istringstream lines{kv::test::read_file(entry.path())};
        for (std::string line; std::getline(lines, line);) {
            line.resize(std::min(line.find("//"), line.size()));
            for (std::sregex_iterator at{line.begin(), line.end(), name}, end; at != end; ++at)
                found.insert(at->str());
        }
    }
    return found;
}

TEST(CppExports, EveryExportedFunctionIsUsed)
{
    const std::set<std::string> used = functions_in_headers();
    std::istringstream lines{kv::test::read_file(KORVANE_EXPORTS)};
    int exported = 0;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line.front() != '#') {
            ++exported;
            EXPECT_TRUE(used.contains(line)) << line << " cannot be reached from C++";
        }
    EXPECT_EQ(exported, 179);
}

} // namespace
