// SPDX-License-Identifier: Apache-2.0
#include <package_info.h>

#include "package_entry.hpp"

#include <cerrno>

using namespace kv::host;

extern "C" int package_info_create(const char *package, package_info_h *info)
{
    if (!info)
        return -EINVAL;
    Owned<PackageEntry> entry = make<PackageEntry>();
    if (!entry)
        return -ENOMEM;
    if (const int error = entry->open(package); error != 0)
        return error;
    *info = entry.release();
    return 0;
}

extern "C" int package_info_get_version(package_info_h info, char **version)
{
    if (!info || !version)
        return -EINVAL;
    CText text = static_cast<const PackageEntry *>(info)->string(package_key::version);
    if (!text)
        return -ENOMEM; // an open entry always has a version
    *version = text.release();
    return 0;
}

extern "C" int package_info_destroy(package_info_h info)
{
    const Owned<PackageEntry> released{static_cast<PackageEntry *>(info)};
    return 0;
}
