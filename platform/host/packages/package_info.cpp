// SPDX-License-Identifier: Apache-2.0
#include <package_info.h>

#include "package_entry.hpp"

#include <cerrno>
#include <cstdlib>
#include <new>

using kv::host::PackageEntry;

extern "C" int package_info_create(const char *package, package_info_h *info)
{
    if (!info)
        return -EINVAL;
    void *memory = malloc(sizeof(PackageEntry));
    if (!memory)
        return -ENOMEM;
    auto *entry = new (memory) PackageEntry;
    if (const int error = entry->open(package); error != 0) {
        package_info_destroy(entry);
        return error;
    }
    *info = entry;
    return 0;
}

extern "C" int package_info_get_version(package_info_h info, char **version)
{
    if (!info || !version)
        return -EINVAL;
    char *text = static_cast<const PackageEntry *>(info)->string(kv::host::package_key::version);
    if (!text)
        return -ENOMEM; // an entry that could be opened has a version
    *version = text;
    return 0;
}

extern "C" int package_info_destroy(package_info_h info)
{
    if (!info)
        return 0;
    static_cast<PackageEntry *>(info)->~PackageEntry();
    free(info);
    return 0;
}
