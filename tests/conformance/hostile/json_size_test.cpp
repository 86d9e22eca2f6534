// SPDX-License-Identifier: Apache-2.0
// The size of a JSON text, which is estimated before it is parsed.
#include "src/kv_master/json_size.hpp"

#include <gtest/gtest.h>

#include <ostream>

namespace kv::test {
namespace {

struct Example {
    const char *text;
    int values;
    int depth;
};

std::ostream &operator<<(std::ostream &out, const Example &example)
{
    return out << "'" << example.text << "'";
}

constexpr Example examples[] = {
    {"", 1, 0},
    {"7", 1, 0},
    {"[]", 2, 1},
    {"[1,2,3]", 4, 1},
    {"{\"a\":1,\"b\":2}", 3, 1},
    {"[[1],{\"a\":[]}]", 6, 3},
    {"[[],[]]", 5, 2},
    {"\"[,{\"", 1, 0},
    {"[\"a,b\",\"]\"]", 3, 1},
    {R"(["\"",1])", 3, 1},
    {R"(["\\",[1]])", 4, 2},
    {R"("\)", 1, 0},
    {R"(\[)", 2, 1},
    {"]]}[", 2, 1},
    {"[]}}[[", 4, 2},
};

class SizeOfJson : public ::testing::TestWithParam<Example> {};

INSTANTIATE_TEST_SUITE_P(Of, SizeOfJson, ::testing::ValuesIn(examples));

TEST_P(SizeOfJson, IsKnownBeforeItIsParsed)
{
    const auto size = kv::master::json_size(GetParam().text);
    EXPECT_EQ(size.values, GetParam().values);
    EXPECT_EQ(size.depth, GetParam().depth);
}

} // namespace
} // namespace kv::test
