// SPDX-License-Identifier: Apache-2.0
#include "package_entry.hpp"

#include "platform/host/log/log.hpp"

#include <package_info.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kv::host {

namespace {

constexpr std::size_t max_name = 128;
constexpr std::size_t max_entry = 64 * 1024;

char *package_directory()
{
    // An entry names a program to start, so a program with more rights than its caller ignores the caller's directory.
    const char *chosen = secure_getenv("KORVANE_PACKAGE_DIR");
    if (chosen && *chosen)
        return g_strdup(chosen);
    if (geteuid() == 0)
        return g_strdup("/var/lib/korvane/packages");
    const char *data = secure_getenv("XDG_DATA_HOME");
    if (data && *data == '/')
        return g_build_filename(data, "korvane", "packages", nullptr);
    return g_build_filename(g_get_home_dir(), ".local", "share", "korvane", "packages", nullptr);
}

/// Whether the name, which becomes a file name, is valid.
bool is_package_name(const char *name)
{
    if (!name || *name == '\0' || *name == '.' || strlen(name) > max_name)
        return false;
    for (const char *c = name; *c; ++c) {
        if (!g_ascii_isalnum(*c) && !strchr("._-+", *c))
            return false;
    }
    return true;
}

/// Reads a regular file that is smaller than the capacity. 0 or a negative errno.
int read_small_file(int descriptor, char *text, std::size_t capacity, std::size_t *size)
{
    struct stat status;
    if (fstat(descriptor, &status) < 0)
        return -errno;
    if (S_ISDIR(status.st_mode))
        return -EISDIR;
    if (!S_ISREG(status.st_mode))
        return -EINVAL;
    std::size_t got = 0;
    while (got < capacity) {
        const ssize_t part = read(descriptor, text + got, capacity - got);
        if (part < 0 && errno == EINTR)
            continue;
        if (part < 0)
            return -errno;
        if (part == 0) {
            *size = got;
            return 0;
        }
        got += static_cast<std::size_t>(part);
    }
    return -EFBIG;
}

int parse(GKeyFile *file, const char *path, const char *text, std::size_t size)
{
    g_autoptr(GError) error = nullptr;
    g_autofree char *version = nullptr;
    if (g_key_file_load_from_data(file, text, size, G_KEY_FILE_NONE, &error))
        version = g_key_file_get_string(file, package_group, package_key::version, &error);
    if (error) {
        dlog_print(log_error, log_tag, "package entry %s is malformed: %s", path, error->message);
        return -EBADMSG;
    }
    if (*version == '\0') {
        dlog_print(log_error, log_tag, "package entry %s is malformed: Version is empty", path);
        return -EBADMSG;
    }
    return 0;
}

} // namespace

char *package_entry_path(const char *package)
{
    if (!is_package_name(package)) {
        dlog_print(log_error, log_tag,
                   "\"%s\" is not a package name: use 1 to %zu letters, digits and . _ - +, with no dot in front",
                   package ? package : "(null)", max_name);
        return nullptr;
    }
    g_autofree char *directory = package_directory();
    return g_strdup_printf("%s/%s.package", directory, package);
}

int read_entry_file(const char *path, CText *text, std::size_t *size)
{
    // Non-blocking, because a FIFO in its place would block the caller.
    const Fd file{open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)};
    if (!file)
        return -errno;
    text->reset(static_cast<char *>(malloc(max_entry)));
    return *text ? read_small_file(file.get(), text->get(), max_entry, size) : -ENOMEM;
}

PackageEntry::~PackageEntry()
{
    g_clear_pointer(&file_, g_key_file_unref);
}

int PackageEntry::open(const char *package)
{
    g_autofree char *path = package_entry_path(package);
    if (!path)
        return -EINVAL;

    CText text;
    std::size_t size = 0;
    int result = read_entry_file(path, &text, &size);
    if (result == -ENOENT || result == -ENOTDIR) {
        dlog_print(log_info, log_tag, "package %s is not installed: there is no %s", package, path);
        return PACKAGE_INFO_NOT_INSTALLED;
    }
    if (result != 0) {
        dlog_print(log_error, log_tag, "cannot read package entry %s: %s", path, strerror(-result));
        return result;
    }

    g_autoptr(GKeyFile) parsed = g_key_file_new();
    result = parse(parsed, path, text.get(), size);
    if (result != 0)
        return result;
    g_clear_pointer(&file_, g_key_file_unref);
    file_ = g_steal_pointer(&parsed);
    return 0;
}

CText PackageEntry::string(const char *key) const
{
    if (!file_)
        return nullptr;
    g_autofree char *text = g_key_file_get_string(file_, package_group, key, nullptr);
    return text ? copy_text(text) : nullptr;
}

} // namespace kv::host
