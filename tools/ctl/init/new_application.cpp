// SPDX-License-Identifier: Apache-2.0
#include "new_application.hpp"

#include "templates.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/scenario/whole_file.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <sys/stat.h>

namespace kv::ctl {

namespace {

constexpr std::size_t max_name_length = 40;

/// The name becomes that of a directory, a program, a CMake project and a Python project.
bool is_application_name(const std::string &name)
{
    const auto is_letter = [](char c) { return c >= 'a' && c <= 'z'; };
    const auto is_part = [&](char c) { return is_letter(c) || (c >= '0' && c <= '9') || c == '-'; };
    return !name.empty() && name.size() <= max_name_length && is_letter(name.front()) && name.back() != '-' &&
           std::all_of(name.begin(), name.end(), is_part);
}

std::string with_name(std::string text, const std::string &name)
{
    static const std::string placeholder = "@NAME@";
    for (auto at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder, at + name.size()))
        text.replace(at, placeholder.size(), name);
    return text;
}

void make_directory(const std::string &name)
{
    if (::mkdir(name.c_str(), 0777) == 0)
        return;
    const std::string remedy = errno == EEXIST ? "; choose another name, or remove it"
                                               : "; run korvanectl in a directory in which you may write";
    throw Failure{failed, "cannot create the directory '" + name + "': " + std::strerror(errno) + remedy};
}

} // namespace

std::vector<std::string> application_languages()
{
    std::vector<std::string> languages;
    for (const Template &each : templates)
        if (languages.empty() || languages.back() != each.language)
            languages.emplace_back(each.language);
    return languages;
}

std::vector<std::string> write_application(const std::string &name, const std::string &language)
{
    if (!is_application_name(name))
        throw UsageError{"'" + name + "' cannot be the name of an application; use up to " +
                         std::to_string(max_name_length) +
                         " lower-case letters, digits and '-', beginning with a letter, as in my-lamp"};
    make_directory(name);
    try {
        std::vector<std::string> files;
        for (const Template &each : templates)
            if (each.language == language) {
                WholeFile{name + "/" + each.file, 0666, "; nothing was written"}.write(with_name(each.content, name));
                files.emplace_back(each.file);
            }
        return files;
    } catch (...) {
        std::error_code ignored; // the reason is in the exception
        std::filesystem::remove_all(name, ignored);
        throw;
    }
}

} // namespace kv::ctl
