// SPDX-License-Identifier: Apache-2.0
#include "header_text.hpp"

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace kv::test::header {

namespace {

/// The lines of a comment without its marks.
std::vector<std::string> lines_of(const std::string &comment)
{
    std::vector<std::string> lines;
    std::istringstream in(comment);
    static const std::regex marks(R"(^\s*(/\*\*|\*/|\*)?\s?|\s*\*/$)");
    for (std::string line; std::getline(in, line);)
        lines.push_back(std::regex_replace(line, marks, ""));
    return lines;
}

void append(std::string &text, const std::string &line)
{
    const auto first = line.find_first_not_of(' ');
    if (first == std::string::npos)
        return;
    text += (text.empty() ? "" : " ") + line.substr(first);
}

/// Paragraphs and tagged pieces of a comment, each as one line: "Reads ...", "@param handle ...", "@retval ...".
std::vector<std::string> pieces_of(const std::string &comment)
{
    std::vector<std::string> pieces(1);
    for (const std::string &line : lines_of(comment)) {
        const bool blank = line.find_first_not_of(' ') == std::string::npos;
        if (blank || line.starts_with("@"))
            pieces.emplace_back();
        append(pieces.back(), line);
    }
    std::erase(pieces, "");
    return pieces;
}

/// The codes of "@return Otherwise CODE (cause), CODE (cause)."
std::vector<Code> codes_in(const std::string &piece)
{
    static const std::regex form(R"((KORVANE_ERROR_\w+) \(([^)]*)\))");
    std::vector<Code> codes;
    for (std::sregex_iterator found(piece.begin(), piece.end(), form), end; found != end; ++found)
        codes.push_back({(*found)[1], (*found)[2]});
    return codes;
}

void read_piece(const std::string &piece, Entry &entry)
{
    static const std::regex param(R"(@param(?:\[out\])? (\w+)\s*(.*))");
    static const std::regex retval(R"(@retval (KORVANE_ERROR_\w+)\s*(.*))");
    static const std::regex version(R"(Lowest agent version: (any|\d+\.\d+)\..*)");
    std::smatch match;
    if (std::regex_match(piece, match, param)) {
        entry.parameters.push_back({match[1], match[2]});
    } else if (std::regex_match(piece, match, retval)) {
        entry.codes.push_back({match[1], match[2]});
    } else if (piece.starts_with("@return")) {
        for (Code &code : codes_in(piece))
            entry.codes.push_back(std::move(code));
    } else if (std::regex_match(piece, match, version)) {
        entry.lowest_version = match[1];
    }
}

std::vector<std::string> parameter_names(const std::string &list)
{
    static const std::regex name(R"((\w+)\s*(?:,|$))");
    std::vector<std::string> names;
    for (std::sregex_iterator found(list.begin(), list.end(), name), end; found != end; ++found)
        names.push_back((*found)[1]);
    return names;
}

std::string read_file(const std::string &path)
{
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> matches(const std::string &text, const std::regex &form)
{
    std::set<std::string> found_names;
    for (std::sregex_iterator found(text.begin(), text.end(), form), end; found != end; ++found)
        found_names.insert((*found)[1]);
    return found_names;
}

} // namespace

HeaderText::HeaderText(const std::string &path) : text_(read_file(path)) {}

/// A comment belongs to the declaration that follows it without an empty line.
std::vector<Entry> HeaderText::entries(const std::string &begin, char end_of_name) const
{
    std::vector<Entry> all;
    for (auto at = text_.find(begin); at != std::string::npos; at = text_.find(begin, at + 1)) {
        const auto name = at + begin.size();
        const auto end_name = text_.find(end_of_name, name);
        const auto list = text_.find('(', end_name) + 1;
        Entry entry;
        entry.name = text_.substr(name, end_name - name);
        entry.declared = parameter_names(text_.substr(list, text_.find(");", list) - list));
        if (at >= 2 && text_.compare(at - 2, 2, "*/") == 0) {
            const auto comment = text_.rfind("/**", at);
            const auto pieces = pieces_of(text_.substr(comment, at - comment));
            if (!pieces.empty() && !pieces.front().starts_with("@"))
                entry.brief = pieces.front();
            for (const std::string &piece : pieces)
                read_piece(piece, entry);
        }
        all.push_back(std::move(entry));
    }
    return all;
}

std::vector<Entry> HeaderText::functions() const
{
    return entries("\nKORVANE_API int ", '(');
}

std::vector<Entry> HeaderText::callback_types() const
{
    return entries("\ntypedef void (*", ')');
}

std::map<std::string, CodeValue> HeaderText::code_values() const
{
    static const std::regex row(R"(\| #(KORVANE_ERROR_\w+) *\| *(-?\d+) *\| *0x([0-9A-F]{8}) *\|)");
    std::map<std::string, CodeValue> values;
    for (std::sregex_iterator found(text_.begin(), text_.end(), row), end; found != end; ++found)
        values[(*found)[1]] = {std::stol((*found)[2]), std::stoul((*found)[3], nullptr, 16)};
    return values;
}

std::vector<DocumentedResult> HeaderText::results() const
{
    static const std::regex value(R"((/\*\*(?:[^*]|\*(?!/))*\*/)\s*(KORVANE_ERROR_\w+) = (-?\d+),)");
    static const std::string remedy = "What to do: ";
    const auto begin = text_.find("enum korvane_error {");
    const std::string body = text_.substr(begin, text_.find("};", begin) - begin);
    std::vector<DocumentedResult> all;
    for (std::sregex_iterator found(body.begin(), body.end(), value), end; found != end; ++found) {
        DocumentedResult result{(*found)[2], std::stol((*found)[3]), "", ""};
        for (const std::string &piece : pieces_of((*found)[1]))
            (piece.starts_with(remedy) ? result.remedy : result.cause) +=
                piece.starts_with(remedy) ? piece.substr(remedy.size()) : piece;
        all.push_back(std::move(result));
    }
    return all;
}

std::set<std::string> HeaderText::mentioned_functions() const
{
    return matches(text_, std::regex(R"(\b(korvane_[a-z0-9_]+)\(\))"));
}

std::set<std::string> HeaderText::mentioned_codes() const
{
    return matches(text_, std::regex(R"(\b(KORVANE_ERROR_\w+))"));
}

} // namespace kv::test::header
