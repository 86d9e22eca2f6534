// SPDX-License-Identifier: Apache-2.0
#include <package_info_write.h>

#include "package_entry.hpp"
#include "platform/host/log/log.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace kv::host {

namespace {

/// Readable by all: entries hold no secrets, and applications of any user read versions.
constexpr mode_t entry_mode = 0644;

int write_and_sync(int descriptor, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return -errno;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return fchmod(descriptor, entry_mode) == 0 && fsync(descriptor) == 0 ? 0 : -errno;
}

/// Makes a new name survive a power cut.
int sync_directory(const char *directory)
{
    const Fd opened{open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    return opened && fsync(opened.get()) == 0 ? 0 : -errno;
}

int replace_file(const char *path, const char *text, std::size_t size)
{
    g_autofree char *directory = g_path_get_dirname(path);
    if (g_mkdir_with_parents(directory, 0755) < 0)
        return -errno;
    // With a leading dot it is not a package entry if it is left behind.
    g_autofree char *temporary = g_strdup_printf("%s/.entry.XXXXXX", directory);
    Fd file{mkostemp(temporary, O_CLOEXEC)};
    if (!file)
        return -errno;
    int result = write_and_sync(file.get(), text, size);
    file.reset();
    if (result == 0 && rename(temporary, path) < 0)
        result = -errno;
    if (result != 0) {
        unlink(temporary);
        return result;
    }
    return sync_directory(directory);
}

/// Whether the entry has this text already. Writing it again would wait for the disk.
bool is_installed(const char *path, const char *text, std::size_t size)
{
    struct stat status;
    CText present;
    std::size_t present_size = 0;
    return stat(path, &status) == 0 && (status.st_mode & 07777) == entry_mode &&
           read_entry_file(path, &present, &present_size) == 0 && present_size == size &&
           memcmp(present.get(), text, size) == 0;
}

void set_optional(GKeyFile *file, const char *key, const char *value)
{
    if (value)
        g_key_file_set_string(file, package_group, key, value);
}

/// The reason why the values do not make a valid entry; NULL if they do.
const char *objection(const char *version, const char *executable, const char *arguments, const char *group)
{
    if (!version || *version == '\0')
        return "the version is missing";
    if (executable && *executable != '/')
        return "the executable is not an absolute path";
    for (const char *text : {version, executable, arguments, group}) {
        if (text && !g_utf8_validate(text, -1, nullptr))
            return "a value is not UTF-8";
    }
    return nullptr;
}

} // namespace

} // namespace kv::host

extern "C" int package_info_install(const char *package, const char *version, const char *executable,
                                    const char *arguments, const char *group)
{
    using namespace kv::host;
    g_autofree char *path = package_entry_path(package);
    if (!path)
        return -EINVAL;
    if (const char *why = objection(version, executable, arguments, group)) {
        dlog_print(log_error, log_tag, "cannot install package %s: %s", package, why);
        return -EINVAL;
    }

    g_autoptr(GKeyFile) file = g_key_file_new();
    g_key_file_set_string(file, package_group, package_key::version, version);
    set_optional(file, package_key::executable, executable);
    set_optional(file, package_key::arguments, arguments);
    set_optional(file, package_key::group, group);
    gsize size = 0;
    g_autofree char *text = g_key_file_to_data(file, &size, nullptr);

    const int result = is_installed(path, text, size) ? 0 : replace_file(path, text, size);
    if (result != 0)
        dlog_print(log_error, log_tag, "cannot write package entry %s: %s", path, strerror(-result));
    return result;
}

extern "C" int package_info_uninstall(const char *package)
{
    using namespace kv::host;
    g_autofree char *path = package_entry_path(package);
    if (!path)
        return -EINVAL;
    if (unlink(path) == 0) {
        g_autofree char *directory = g_path_get_dirname(path);
        return sync_directory(directory);
    }
    if (errno == ENOENT || errno == ENOTDIR)
        return 0;
    const int result = -errno;
    dlog_print(log_error, log_tag, "cannot remove package entry %s: %s", path, strerror(-result));
    return result;
}
