// SPDX-License-Identifier: Apache-2.0
#include "placeholder.hpp"

#include "tools/ctl/output/failure.hpp"

#include <fstream>

namespace kv::ctl {

namespace {

constexpr const char *mark = "FILL IN: ";

/// The placeholder whose opening quote is at `begin`, with its quotes.
std::string quoted_at(const std::string &line, std::size_t begin)
{
    const std::size_t end = line.find('"', begin + 1);
    return end == std::string::npos ? line.substr(begin) : line.substr(begin, end + 1 - begin);
}

} // namespace

std::string placeholder(const std::string &name)
{
    return mark + name;
}

std::vector<std::string> placeholders_in(const std::string &path)
{
    const std::string wanted = std::string{"\""} + mark;
    std::vector<std::string> found;
    std::ifstream file{path};
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        for (std::size_t at = 0; (at = line.find(wanted, at)) != std::string::npos; ++at) {
            const bool escaped = at > 0 && line[at - 1] == '\\'; // a quote inside another text
            if (!escaped)
                found.push_back(path + ", line " + std::to_string(number) + ": replace " + quoted_at(line, at) +
                                " with the value");
        }
    }
    return found;
}

void refuse_placeholders(const std::vector<std::string> &paths)
{
    std::string problems;
    for (const std::string &path : paths)
        for (const std::string &problem : placeholders_in(path))
            problems += (problems.empty() ? "" : "\n            ") + problem;
    if (!problems.empty())
        throw UsageError{problems};
}

} // namespace kv::ctl
