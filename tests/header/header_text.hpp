// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

/// The public header as its readers see it: declarations with the comments in front of them.
namespace kv::test::header {

struct Code {
    std::string name; // "KORVANE_ERROR_NONE"
    std::string cause;
};

struct Parameter {
    std::string name;
    std::string text;
};

/// The documentation of one function or callback type.
struct Entry {
    std::string name;
    std::string brief;
    std::vector<std::string> declared; // names of the parameters
    std::vector<Parameter> parameters; // as documented
    std::vector<Code> codes;           // as documented; none for callback types
    std::string lowest_version;        // "any", "1.4"; none for callback types
};

/// The documentation of one value of enum korvane_error.
struct DocumentedResult {
    std::string name;
    long value;
    std::string cause;
    std::string remedy; // empty if the comment has none
};

/// One row of the table of result codes.
struct CodeValue {
    long decimal;
    unsigned long hex;
};

class HeaderText {
public:
    /// Throws if the file cannot be read.
    explicit HeaderText(const std::string &path);

    std::vector<Entry> functions() const;
    std::vector<Entry> callback_types() const;
    std::map<std::string, CodeValue> code_values() const;
    /// In the order of the enumeration.
    std::vector<DocumentedResult> results() const;
    /// Names that comments mention as functions: "korvane_start()".
    std::set<std::string> mentioned_functions() const;
    /// Names of result codes in comments.
    std::set<std::string> mentioned_codes() const;

private:
    std::vector<Entry> entries(const std::string &begin, char end_of_name) const;

    std::string text_;
};

} // namespace kv::test::header
