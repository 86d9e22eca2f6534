// SPDX-License-Identifier: Apache-2.0
// replay [--beginnings] DIRECTORY...
//
// Runs a fuzz target with stored inputs: every file of the directories, and the empty input. With --beginnings also every
// beginning of each, because a link can break after any byte.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

std::vector<std::uint8_t> bytes_of(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The files of a directory. Their paths are absolute, because a target may change the directory.
void add_inputs(const std::filesystem::path &directory, std::vector<std::filesystem::path> &inputs)
{
    for (const auto &entry : std::filesystem::recursive_directory_iterator(directory))
        if (entry.is_regular_file())
            inputs.push_back(std::filesystem::absolute(entry.path()));
}

void replay(const std::filesystem::path &input, bool with_beginnings)
{
    const std::vector<std::uint8_t> bytes = bytes_of(input);
    for (std::size_t size = with_beginnings ? 1 : bytes.size(); size < bytes.size(); ++size)
        LLVMFuzzerTestOneInput(bytes.data(), size);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

int main(int argc, char **argv)
{
    const bool with_beginnings = argc > 1 && std::strcmp(argv[1], "--beginnings") == 0;
    std::vector<std::filesystem::path> inputs;
    for (int i = with_beginnings ? 2 : 1; i < argc; ++i)
        add_inputs(argv[i], inputs);
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (const auto &input : inputs)
        replay(input, with_beginnings);
    std::printf("replayed %zu inputs%s\n", inputs.size(), with_beginnings ? " and their beginnings" : "");
    return inputs.empty() ? 1 : 0;
}
