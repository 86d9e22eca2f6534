// SPDX-License-Identifier: Apache-2.0
// The search for secrets finds a value that is there, in every place and in every spelling. Otherwise a test that finds
// nothing would prove nothing.
#include "search.hpp"
#include "testing/support/child_process.hpp"
#include "testing/support/temporary_directory.hpp"
#include "testing/support/wait.hpp"

#include <gtest/gtest.h>

#include <fstream>

using namespace kv::test;

namespace {

using Names = SecretSearch::Names;

const std::string value = "the quick brown fox jumps over the lazy dog";

class Search : public testing::Test {
protected:
    Search()
    {
        search.add("fox", value);
        search.add("key", "-----BEGIN KEY-----\nQUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVo\n-----END KEY-----\n");
    }

    SecretSearch search;
    TemporaryDirectory directory;
};

TEST_F(Search, FindsAValueInAText)
{
    EXPECT_EQ(search.found_in(R"({"password":")" + value + R"("})"), Names{"fox"});
}

TEST_F(Search, FindsAPartOfAValue)
{
    EXPECT_EQ(search.found_in(R"({"password":"the quick brown fox jumps ov... of 43 bytes"})"), Names{"fox"});
    EXPECT_EQ(search.found_in("... jumps over the lazy"), Names{"fox"});
}

TEST_F(Search, FindsAValueInBase64BehindAnyNumberOfBytes)
{
    EXPECT_EQ(search.found_in("dGhlIHF1aWNrIGJyb3duIGZveCBqdW1wcyBvdmVyIHRoZSBsYXp5IGRvZw=="), Names{"fox"});
    EXPECT_EQ(search.found_in("PHRoZSBxdWljayBicm93biBmb3gganVtcHMgb3ZlciB0aGUgbGF6eSBkb2c+"), Names{"fox"});
    EXPECT_EQ(search.found_in("PDx0aGUgcXVpY2sgYnJvd24gZm94IGp1bXBzIG92ZXIgdGhlIGxhenkgZG9nPj4="), Names{"fox"});
}

TEST_F(Search, FindsAValueInHexadecimalDigits)
{
    EXPECT_EQ(search.found_in("74686520717569636b2062726f776e20666f78206a756d7073206f76657220746865206c617a7920646f67"),
              Names{"fox"});
}

TEST_F(Search, FindsALineOfAKeyButNotItsFrame)
{
    EXPECT_EQ(search.found_in(R"("-----BEGIN KEY-----\nQUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVo\n")"), Names{"key"});
    EXPECT_EQ(search.found_in("-----BEGIN KEY-----"), Names{});
}

TEST_F(Search, FindsNothingInOtherTexts)
{
    EXPECT_EQ(search.found_in("<secret, 43 bytes>"), Names{});
    EXPECT_EQ(search.found_in("the quick fox"), Names{});
}

TEST_F(Search, FindsAValueInFilesAndInTheirNames)
{
    std::filesystem::create_directories(directory / "a/left out");
    std::ofstream{directory / "a/log"} << "one\n" << value << "\n";
    std::ofstream{directory / "a/left out/trace"} << value;
    const std::string log = (directory / "a/log").string() + ": fox";
    EXPECT_EQ(search.found_below(directory.path(), directory / "a/left out"), Names{log});
    std::ofstream{directory / "a" / value};
    EXPECT_EQ(search.found_below(directory.path(), directory / "a/left out"), (Names{log, "a name of a file: fox"}));
}

TEST_F(Search, FindsAValueInACommandLine)
{
    const ChildProcess child{Command{.words = {"sh", "-c", "read wait", value}}};
    const std::string pid = std::to_string(child.pid());
    EXPECT_TRUE(wait_until([&] { return search.found_in_process(child.pid()) == Names{"cmdline: fox"}; }));
    EXPECT_EQ(search.found_in_processes().count("process " + pid + ": cmdline: fox"), 1U);
}

TEST_F(Search, FindsAValueInAnEnvironment)
{
    const ChildProcess child{Command{.words = {"sh", "-c", "read wait"}, .environment = {{"TOKEN", value}}}};
    EXPECT_TRUE(wait_until([&] { return search.found_in_process(child.pid()) == Names{"environ: fox"}; }));
}

} // namespace
