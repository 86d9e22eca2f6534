// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include <glib.h>

#include <cstdio>
#include <memory>
#include <sstream>

namespace kv::ctl {

namespace {

using Text = std::unique_ptr<char, decltype(&g_free)>;

/// XML cannot contain control characters or invalid UTF-8, in any form.
std::string escaped(const std::string &text)
{
    const Text valid{g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free};
    const Text xml{g_markup_escape_text(printable(valid.get()).c_str(), -1), g_free};
    return xml.get();
}

std::string decimal(double seconds)
{
    char text[G_ASCII_DTOSTR_BUF_SIZE];
    return g_ascii_formatd(text, sizeof text, "%.3f", seconds);
}

std::string lines_of(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

std::string counts_of(const SuiteResult &suite)
{
    return "tests=\"" + std::to_string(suite.cases.size()) + "\" failures=\"" + std::to_string(suite.failed_count()) +
           "\" errors=\"0\" time=\"" + decimal(suite.seconds) + "\"";
}

void write_property(std::ostream &xml, const char *name, const std::string &value)
{
    xml << "      <property name=\"" << name << "\" value=\"" << escaped(value) << "\"/>\n";
}

void write_case(std::ostream &xml, const CaseResult &result)
{
    xml << "    <testcase classname=\"" << escaped(result.scenario) << "\" name=\"" << escaped(result.variant)
        << "\" time=\"" << decimal(result.seconds) << "\"";
    if (result.passed()) {
        xml << "/>\n";
        return;
    }
    xml << ">\n";
    if (!result.seed.empty()) {
        xml << "      <properties>\n  ";
        write_property(xml, "seed", result.seed);
        xml << "      </properties>\n";
    }
    xml << "      <failure message=\"" << escaped(result.problem) << "\">" << escaped(lines_of(result.journal))
        << "</failure>\n";
    if (!result.output.empty())
        xml << "      <system-out>" << escaped(lines_of(result.output)) << "</system-out>\n";
    xml << "    </testcase>\n";
}

} // namespace

std::string junit_of(const SuiteResult &suite)
{
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites " << counts_of(suite)
        << ">\n  <testsuite name=\"korvane\" " << counts_of(suite) << ">\n    <properties>\n";
    if (suite.shard)
        write_property(xml, "shard", suite.shard->text());
    write_property(xml, "complete", suite.complete ? "true" : "false");
    xml << "    </properties>\n";
    for (const CaseResult &result : suite.cases)
        write_case(xml, result);
    xml << "  </testsuite>\n</testsuites>\n";
    return xml.str();
}

} // namespace kv::ctl
