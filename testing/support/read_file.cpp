// SPDX-License-Identifier: Apache-2.0
#include "read_file.hpp"

#include <fstream>
#include <sstream>

namespace kv::test {

std::string read_file(const std::filesystem::path &path)
{
    std::ifstream file{path, std::ios::binary};
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

} // namespace kv::test
