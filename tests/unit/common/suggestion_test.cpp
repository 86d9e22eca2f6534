// SPDX-License-Identifier: Apache-2.0
#include "common/suggestion.hpp"

#include <gtest/gtest.h>

using kv::suggestion;

namespace {

TEST(Suggestion, IsTheMostSimilarName)
{
    EXPECT_EQ(suggestion("strat", {"stop", "start", "status"}), "; did you mean 'start'?");
    EXPECT_EQ(suggestion("statsu", {"stop", "start", "status"}), "; did you mean 'status'?");
}

TEST(Suggestion, IsNoneForAnotherWord)
{
    EXPECT_EQ(suggestion("emit", {"init"}), "");
    EXPECT_EQ(suggestion("record", {"stop", "start"}), "");
}

TEST(Suggestion, IsNoneWithoutNames)
{
    EXPECT_EQ(suggestion("start", {}), "");
}

} // namespace
