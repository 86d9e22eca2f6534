// SPDX-License-Identifier: Apache-2.0
// Reports of other shards, as JSON lines or as JUnit XML. Only what korvanectl itself writes is understood.
#include "report.hpp"

#include "tools/ctl/output/failure.hpp"

#include <glib.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

namespace kv::ctl {

namespace {

std::vector<std::string> lines_in(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream input{text};
    for (std::string line; std::getline(input, line);)
        lines.push_back(line);
    return lines;
}

double number_or_zero(const Json &value)
{
    return value.is_number() ? value.get<double>() : 0;
}

CaseResult case_in(const Json &line)
{
    CaseResult result{text_in(line, "scenario"),
                      text_in(line, "variant"),
                      number_or_zero(member_of(line, "seconds")),
                      text_in(line, "problem"),
                      texts_in(member_of(line, "journal")),
                      texts_in(member_of(line, "output")),
                      text_in(line, "seed")};
    if (result.problem.empty() && !flag_in(line, "passed", false))
        result.problem = "failed";
    return result;
}

/// Returns false if a line is not one of a report.
bool read_json(const std::string &text, SuiteResult &suite)
{
    bool has_end = false;
    for (const std::string &text_line : lines_in(text)) {
        const Json line = parsed(text_line);
        if (line.is_object() && line.contains("case") && !has_end) {
            suite.cases.push_back(case_in(line));
        } else if (line.is_object() && line.contains("cases") && !has_end) {
            has_end = true;
            suite.seconds = number_or_zero(member_of(line, "seconds"));
            suite.complete = flag_in(line, "complete", false);
            suite.shard = Shard::parse(text_in(line, "shard"));
        } else {
            return false;
        }
    }
    return true; // without its last line, the suite is not complete
}

/// Collects the cases of a JUnit file while GLib reads it.
class JunitReader {
public:
    explicit JunitReader(SuiteResult &suite) : suite_(suite) {}

    bool read(const std::string &text)
    {
        const GMarkupParser parser{on_start, on_end, on_text, nullptr, nullptr};
        const std::unique_ptr<GMarkupParseContext, decltype(&g_markup_parse_context_free)> context{
            g_markup_parse_context_new(&parser, static_cast<GMarkupParseFlags>(0), this, nullptr),
            g_markup_parse_context_free};
        return g_markup_parse_context_parse(context.get(), text.data(), static_cast<gssize>(text.size()), nullptr) &&
               g_markup_parse_context_end_parse(context.get(), nullptr) && has_suite_;
    }

private:
    /// The attributes of an element by name.
    struct Attributes {
        const gchar **names;
        const gchar **values;

        std::string operator[](const char *name) const
        {
            for (std::size_t i = 0; names[i]; ++i)
                if (std::strcmp(names[i], name) == 0)
                    return values[i];
            return "";
        }
    };

    static void on_start(GMarkupParseContext *, const gchar *element, const gchar **names, const gchar **values,
                         gpointer self, GError **)
    {
        static_cast<JunitReader *>(self)->start(element, {names, values});
    }
    static void on_end(GMarkupParseContext *, const gchar *element, gpointer self, GError **)
    {
        static_cast<JunitReader *>(self)->end(element);
    }
    static void on_text(GMarkupParseContext *, const gchar *text, gsize size, gpointer self, GError **)
    {
        static_cast<JunitReader *>(self)->text_.append(text, size);
    }

    void start(const std::string &element, const Attributes &attributes)
    {
        text_.clear();
        if (element == "testsuite") {
            has_suite_ = true;
            suite_.seconds += g_ascii_strtod(attributes["time"].c_str(), nullptr);
        } else if (element == "property" && attributes["name"] == "shard") {
            suite_.shard = Shard::parse(attributes["value"]);
        } else if (element == "property" && attributes["name"] == "complete") {
            suite_.complete = attributes["value"] == "true";
        } else if (element == "property" && attributes["name"] == "seed" && !suite_.cases.empty()) {
            suite_.cases.back().seed = attributes["value"];
        } else if (element == "testcase") {
            suite_.cases.push_back(
                {attributes["classname"], attributes["name"], g_ascii_strtod(attributes["time"].c_str(), nullptr)});
        } else if (element == "failure" && !suite_.cases.empty()) {
            suite_.cases.back().problem = attributes["message"].empty() ? "failed" : attributes["message"];
        }
    }

    void end(const std::string &element)
    {
        if (element == "failure" && !suite_.cases.empty())
            suite_.cases.back().journal = lines_in(text_);
        else if (element == "system-out" && !suite_.cases.empty())
            suite_.cases.back().output = lines_in(text_);
    }

    SuiteResult &suite_;
    std::string text_{};
    bool has_suite_ = false;
};

} // namespace

SuiteResult read_report(const std::string &path)
{
    std::ifstream file{path};
    if (!file)
        throw UsageError{"cannot read the report " + path};
    std::string text;
    try {
        text.assign(std::istreambuf_iterator<char>{file}, {});
    } catch (const std::ios_base::failure &problem) {
        throw UsageError{"cannot read the report " + path + ": " + problem.what()};
    }
    SuiteResult suite;
    const bool is_xml = text.rfind('<', 0) == 0;
    if (is_xml ? !JunitReader{suite}.read(text) : !read_json(text, suite))
        throw UsageError{path + " is not a report that 'korvanectl test' wrote with --json or --junit"};
    return suite;
}

} // namespace kv::ctl
