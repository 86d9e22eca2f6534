// SPDX-License-Identifier: Apache-2.0
// Package entries: the input is the key file of an installed package, whose version is read.

#include "fuzz_input.hpp"
#include "testing/support/temporary_directory.hpp"

#include <package_info.h>

#include <fstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const kv::test::TemporaryDirectory directory{"korvane-fuzz"};
    ::setenv("KORVANE_PACKAGE_DIR", directory.path().c_str(), 1);
    std::ofstream{directory / "agent.package", std::ios::binary}.write(reinterpret_cast<const char *>(data),
                                                                       static_cast<std::streamsize>(size));
    package_info_h info = nullptr;
    if (package_info_create("agent", &info) != 0) {
        must(!info, "a failed lookup stores a handle");
        return 0;
    }
    char *version = nullptr;
    must(package_info_get_version(info, &version) != 0 || (version && *version), "an entry has an empty version");
    std::free(version);
    package_info_destroy(info);
    return 0;
}
