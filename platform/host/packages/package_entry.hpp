// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

namespace kv::host {

inline constexpr int package_not_installed = -18153359;

/// The keys of an entry; all but the version may be missing.
namespace package_key {
inline constexpr const char *version = "Version";
inline constexpr const char *executable = "Executable";
inline constexpr const char *arguments = "Arguments"; ///< of the executable, quoted as for a shell
inline constexpr const char *group = "Group";         ///< whose members the package's ports admit beside its own user
} // namespace package_key

/// What is known of an installed package: one key file, named after it, in the package directory.
class PackageEntry {
public:
    PackageEntry() = default;
    ~PackageEntry();
    PackageEntry(const PackageEntry &) = delete;
    PackageEntry &operator=(const PackageEntry &) = delete;

    /// 0, package_not_installed, or another negative code; an error line says what is wrong with which file.
    int open(const char *package);
    /// A malloc'ed copy of the key's text, the caller's; NULL when the entry has no such key.
    char *string(const char *key) const;

private:
    GKeyFile *file_ = nullptr;
};

/// The file of a package's entry, to be freed with g_free; NULL, with an error line, for a name that no package has.
char *package_entry_path(const char *package);

inline constexpr const char *package_group = "Package";

} // namespace kv::host
