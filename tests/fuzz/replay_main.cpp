// SPDX-License-Identifier: Apache-2.0
// Runs a fuzz target with stored inputs: every file of the directories on the command line, and the empty input.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv)
{
    std::vector<std::filesystem::path> inputs;
    for (int i = 1; i < argc; ++i)
        for (const auto &entry : std::filesystem::recursive_directory_iterator(argv[i]))
            if (entry.is_regular_file())
                inputs.push_back(entry.path());
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (const auto &path : inputs) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
        // Runs every prefix of the input too, because a link can break after any byte.
        for (std::size_t cut = 1; cut < bytes.size(); ++cut)
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), cut);
    }
    std::printf("replayed %zu inputs and their beginnings\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
