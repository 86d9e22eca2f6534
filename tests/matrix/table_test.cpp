// SPDX-License-Identifier: Apache-2.0
#include "function_table.hpp"

#include <gtest/gtest.h>

#include <fstream>

namespace kv::test::matrix {
namespace {

std::vector<std::string> exported_names()
{
    std::vector<std::string> names;
    std::ifstream list(KORVANE_EXPORTS);
    for (std::string line; std::getline(list, line);)
        if (!line.empty() && line.front() != '#')
            names.push_back(line);
    return names;
}

TEST(Table, HasEveryExportedFunctionOnceAndNothingElse)
{
    std::vector<std::string> names;
    for (const Function &function : functions())
        names.push_back(function.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, exported_names());
    EXPECT_EQ(names.size(), 179U);
}

TEST(Table, HasAFunctionForEveryMethodOfTheAgent)
{
    std::set<int> asked;
    for (const Function &function : functions())
        for (const Request &request : function.requests)
            asked.insert(request.method);
    std::set<int> all;
    for (int method = 2; method <= 108; ++method)
        all.insert(method);
    for (int not_asked_by_functions : {2, 39}) // the connected handler sends these
        all.erase(not_asked_by_functions);
    for (int unused : {5, 30, 31})
        all.erase(unused);
    EXPECT_EQ(asked, all);
}

TEST(Table, HasEveryEventInOrderWithTheFunctionThatAsksForIt)
{
    ASSERT_EQ(events().size(), 32U);
    int id = 0;
    for (const Event &event : events()) {
        EXPECT_EQ(event.id, ++id);
        EXPECT_NO_THROW(function_named(event.asked_by)) << event.name;
    }
}

} // namespace
} // namespace kv::test::matrix
