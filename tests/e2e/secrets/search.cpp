// SPDX-License-Identifier: Apache-2.0
#include "search.hpp"

#include "testing/support/read_file.hpp"

#include <glib.h>

#include <cstdlib>
#include <memory>
#include <sstream>

#include <unistd.h>

namespace kv::test {

namespace {

constexpr std::size_t part_size = 12;
constexpr std::size_t min_size = 2 * part_size;

/// Base64 of the value behind `before` other bytes, without the digits that depend on its neighbours.
std::string base64(const std::string &value, std::size_t before)
{
    const std::string bytes = std::string(before, ' ') + value;
    const std::unique_ptr<char, decltype(&g_free)> encoded{
        g_base64_encode(reinterpret_cast<const guchar *>(bytes.data()), bytes.size()), g_free};
    const std::string digits = encoded.get();
    constexpr std::size_t group = 4; // digits of three bytes
    return digits.substr(group, bytes.size() / 3 * group - group);
}

std::string hexadecimal(const std::string &value)
{
    std::string digits;
    for (const char byte : value)
        for (const int shift : {4, 0})
            digits += "0123456789abcdef"[(static_cast<unsigned char>(byte) >> shift) & 15];
    return digits;
}

SecretSearch::Names with_prefix(const std::string &prefix, const SecretSearch::Names &names)
{
    SecretSearch::Names all;
    for (const std::string &name : names)
        all.insert(prefix + ": " + name);
    return all;
}

} // namespace

void SecretSearch::add(const std::string &name, const std::string &value)
{
    std::istringstream lines{value};
    for (std::string line; std::getline(lines, line);) {
        if (line.size() < min_size || line.rfind("-----", 0) == 0)
            continue;
        for (std::size_t at = 0; at + part_size <= line.size(); at += part_size)
            spellings_.push_back({name, line.substr(at, part_size)});
        for (const std::size_t before : {0U, 1U, 2U})
            spellings_.push_back({name, base64(line, before)});
        spellings_.push_back({name, hexadecimal(line)});
    }
}

SecretSearch::Names SecretSearch::found_in(std::string_view text) const
{
    Names names;
    for (const Spelling &one : spellings_)
        if (names.count(one.name) == 0 && text.find(one.text) != std::string_view::npos)
            names.insert(one.name);
    return names;
}

SecretSearch::Names SecretSearch::found_in_file(const std::filesystem::path &file) const
{
    return with_prefix(file.string(), found_in(read_file(file)));
}

SecretSearch::Names SecretSearch::found_below(const std::filesystem::path &directory,
                                              const std::filesystem::path &without) const
{
    Names all;
    for (auto entry = std::filesystem::recursive_directory_iterator{directory}; entry != end(entry); ++entry) {
        if (entry->path() == without)
            entry.disable_recursion_pending();
        else if (entry->is_regular_file())
            all.merge(found_in_file(entry->path()));
        all.merge(with_prefix("a name of a file", found_in(entry->path().filename().string())));
    }
    return all;
}

SecretSearch::Names SecretSearch::found_in_process(pid_t pid) const
{
    const std::filesystem::path process = "/proc/" + std::to_string(pid);
    Names all;
    for (const char *file : {"cmdline", "environ"})
        all.merge(with_prefix(file, found_in(read_file(process / file))));
    return all;
}

SecretSearch::Names SecretSearch::found_in_processes() const
{
    Names all;
    for (const auto &entry : std::filesystem::directory_iterator{"/proc"})
        if (const int pid = std::atoi(entry.path().filename().c_str()); pid > 0)
            all.merge(with_prefix("process " + std::to_string(pid), found_in_process(pid)));
    return all;
}

} // namespace kv::test
