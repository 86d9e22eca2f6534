// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include "platform/host/owned.hpp"

namespace kv::host {

/// The keys of an entry. Only the version is required.
namespace package_key {
inline constexpr const char *version = "Version";
inline constexpr const char *executable = "Executable";
inline constexpr const char *arguments = "Arguments"; ///< of the executable, quoted as for a shell
inline constexpr const char *group = "Group";         ///< the package's ports admit its members beside its own user
} // namespace package_key

/// The entry of an installed package: a key file in the package directory, named after the package.
class PackageEntry {
public:
    PackageEntry() = default;
    ~PackageEntry();
    PackageEntry(const PackageEntry &) = delete;
    PackageEntry &operator=(const PackageEntry &) = delete;

    /// Reads the entry. 0, PACKAGE_INFO_NOT_INSTALLED, or another negative code after an error line.
    int open(const char *package);
    /// The text of a key; null if the entry has no such key.
    CText string(const char *key) const;

private:
    GKeyFile *file_ = nullptr;
};

/// The path of a package's entry, to be released with g_free. NULL after an error line if the name is not valid.
char *package_entry_path(const char *package);

/// Reads an entry's file. 0 or a negative errno.
int read_entry_file(const char *path, CText *text, std::size_t *size);

inline constexpr const char *package_group = "Package";

} // namespace kv::host
