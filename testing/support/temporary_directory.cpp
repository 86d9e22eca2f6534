// SPDX-License-Identifier: Apache-2.0
#include "temporary_directory.hpp"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace kv::test {

TemporaryDirectory::TemporaryDirectory(const std::string &prefix)
{
    std::string pattern = std::filesystem::temp_directory_path() / (prefix + "-XXXXXX");
    if (!::mkdtemp(pattern.data()))
        throw std::system_error{errno, std::generic_category(), "cannot make the directory " + pattern};
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored; // a destructor cannot report a failure
    std::filesystem::remove_all(path_, ignored);
}

} // namespace kv::test
