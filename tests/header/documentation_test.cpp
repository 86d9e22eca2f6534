// SPDX-License-Identifier: Apache-2.0
#include "header_text.hpp"
#include "matrix/function_table.hpp"
#include "result_codes.hpp"

#include <korvane_results.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>

namespace kv::test::header {
namespace {

const HeaderText &header()
{
    static const HeaderText text(KORVANE_HEADER);
    return text;
}

std::vector<std::string> names_of(const std::vector<Entry> &entries)
{
    std::vector<std::string> names;
    for (const Entry &entry : entries)
        names.push_back(entry.name);
    return names;
}

std::set<std::string> names_of_codes(const Entry &entry)
{
    std::set<std::string> names;
    for (const Code &code : entry.codes)
        names.insert(code.name);
    return names;
}

/// A sentence of at least three words.
bool is_sentence(const std::string &text)
{
    return text.ends_with(".") && std::count(text.begin(), text.end(), ' ') >= 2;
}

void expect_each_parameter_once(const Entry &entry)
{
    std::vector<std::string> documented;
    for (const Parameter &parameter : entry.parameters) {
        documented.push_back(parameter.name);
        EXPECT_FALSE(parameter.text.empty()) << parameter.name;
    }
    EXPECT_EQ(documented, entry.declared);
}

TEST(Documentation, DeclaresEveryExportedFunctionOnceAndNothingElse)
{
    std::vector<std::string> exported;
    std::ifstream list(KORVANE_EXPORTS);
    for (std::string line; std::getline(list, line);)
        if (!line.empty() && line.front() != '#')
            exported.push_back(line);
    std::vector<std::string> declared = names_of(header().functions());
    std::sort(declared.begin(), declared.end());
    EXPECT_EQ(declared, exported);
    EXPECT_EQ(declared.size(), 179U);
}

TEST(Documentation, OfEveryFunctionIsComplete)
{
    for (const Entry &function : header().functions()) {
        SCOPED_TRACE(function.name);
        EXPECT_TRUE(is_sentence(function.brief)) << "brief: " << function.brief;
        expect_each_parameter_once(function);
        for (const Code &code : function.codes)
            EXPECT_FALSE(code.cause.empty()) << code.name;
        const std::set<std::string> codes = names_of_codes(function);
        EXPECT_EQ(codes.size(), function.codes.size()) << "a code is named twice";
        for (const char *name : {"KORVANE_ERROR_NONE", "KORVANE_ERROR_INVALID_PARAMETER", "KORVANE_ERROR_NOT_SUPPORTED",
                                 "KORVANE_ERROR_AGENT_VERSION_LOWER"})
            EXPECT_TRUE(codes.contains(name)) << name;
        EXPECT_FALSE(function.lowest_version.empty()) << "lowest agent version";
    }
}

TEST(Documentation, OfEveryCallbackTypeIsComplete)
{
    EXPECT_EQ(header().callback_types().size(), 33U);
    for (const Entry &type : header().callback_types()) {
        SCOPED_TRACE(type.name);
        EXPECT_TRUE(is_sentence(type.brief)) << "brief: " << type.brief;
        expect_each_parameter_once(type);
    }
}

TEST(Documentation, NamesTheLowestAgentVersionOfEachFunction)
{
    for (const Entry &entry : header().functions()) {
        SCOPED_TRACE(entry.name);
        const int since = matrix::function_named(entry.name).since;
        EXPECT_EQ(entry.lowest_version, since == 0 ? "any" : matrix::shown_agent(since));
        for (const Code &code : entry.codes)
            if (code.name == "KORVANE_ERROR_AGENT_VERSION_LOWER") {
                EXPECT_EQ(code.cause, since == 0 ? "version below 0" : "agent below " + matrix::shown_agent(since));
            }
    }
}

TEST(Documentation, HasEachResultCodeInItsTableWithItsValue)
{
    const auto documented = header().code_values();
    EXPECT_EQ(documented.size(), result_codes().size());
    for (const auto &[name, value] : result_codes()) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(documented.contains(name));
        EXPECT_EQ(documented.at(name).decimal, value);
        EXPECT_EQ(documented.at(name).hex, static_cast<std::uint32_t>(value));
    }
}

struct ResultInWords {
    const char *name;
    int value;
    std::string cause;
    std::string remedy;
};

const std::vector<ResultInWords> &results_in_words()
{
    static const std::vector<ResultInWords> results = {
#define KV_RESULT(name, cause, remedy) {"KORVANE_ERROR_" #name, KORVANE_ERROR_##name, cause, remedy},
        KORVANE_RESULTS(KV_RESULT)
#undef KV_RESULT
    };
    return results;
}

/// The text continues with more sentences, if at all.
bool begins_with_sentence(const std::string &text, const std::string &sentence)
{
    return text == sentence || text.starts_with(sentence + " ");
}

std::string with_capital(std::string text)
{
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

TEST(Documentation, OfEachResultCodeBeginsWithTheTextsForPrograms)
{
    const std::vector<DocumentedResult> documented = header().results();
    ASSERT_EQ(documented.size(), result_codes().size());
    ASSERT_EQ(results_in_words().size(), documented.size());
    for (std::size_t i = 0; i < documented.size(); ++i) {
        const ResultInWords &words = results_in_words()[i];
        SCOPED_TRACE(words.name);
        EXPECT_EQ(documented[i].name, words.name);
        EXPECT_EQ(documented[i].value, words.value);
        EXPECT_PRED2(begins_with_sentence, documented[i].cause, with_capital(words.cause) + ".");
        if (words.value != KORVANE_ERROR_NONE) {
            EXPECT_PRED2(begins_with_sentence, documented[i].remedy, words.remedy + ".");
        }
    }
}

TEST(Documentation, MentionsNoFunctionAndNoCodeThatDoesNotExist)
{
    std::set<std::string> known;
    for (const std::vector<Entry> &entries : {header().functions(), header().callback_types()})
        for (const std::string &name : names_of(entries))
            known.insert(name);
    for (const std::string &name : header().mentioned_functions())
        EXPECT_TRUE(known.contains(name)) << name;
    for (const std::string &name : header().mentioned_codes())
        EXPECT_TRUE(result_codes().contains(name)) << name;
}

} // namespace
} // namespace kv::test::header
