// SPDX-License-Identifier: Apache-2.0
#include "read_file.hpp"

#include <fstream>
#include <iterator>

namespace kv::test {

std::string read_file(const std::filesystem::path &path)
{
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

} // namespace kv::test
