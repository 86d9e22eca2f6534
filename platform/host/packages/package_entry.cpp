// SPDX-License-Identifier: Apache-2.0
#include "package_entry.hpp"

#include "platform/host/log/log.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace kv::host {

namespace {

constexpr std::size_t longest_name = 128;
constexpr std::size_t largest_entry = 64 * 1024;

char *package_directory()
{
    // An entry names a program to be started, so a program with more rights than its caller does not take this from it.
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

/// The name becomes a file name, and comes from whoever asks.
bool is_package_name(const char *name)
{
    if (!name || *name == '\0' || *name == '.' || strlen(name) > longest_name)
        return false;
    for (const char *c = name; *c; ++c) {
        if (!g_ascii_isalnum(*c) && !strchr("._-+", *c))
            return false;
    }
    return true;
}

/// Reads an open regular file of bounded size into text; 0 or a negative errno.
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
        dlog_print(log_error, log_tag, "package entry %s is malformed: the version is empty", path);
        return -EBADMSG;
    }
    return 0;
}

} // namespace

char *package_entry_path(const char *package)
{
    if (!is_package_name(package)) {
        dlog_print(log_error, log_tag,
                   "\"%s\" is no package name: 1 to %zu letters, digits and . _ - +, not beginning with a dot",
                   package ? package : "(null)", longest_name);
        return nullptr;
    }
    g_autofree char *directory = package_directory();
    return g_strdup_printf("%s/%s.package", directory, package);
}

PackageEntry::~PackageEntry()
{
    if (file_)
        g_key_file_unref(file_);
}

int PackageEntry::open(const char *package)
{
    g_autofree char *path = package_entry_path(package);
    if (!path)
        return -EINVAL;

    // Non-blocking, so that a FIFO put there cannot hold the caller.
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0 && (errno == ENOENT || errno == ENOTDIR)) {
        dlog_print(log_info, log_tag, "package %s is not installed: there is no %s", package, path);
        return package_not_installed;
    }
    int result = 0;
    std::size_t size = 0;
    g_autofree char *text = nullptr;
    if (descriptor < 0) {
        result = -errno;
    } else {
        text = static_cast<char *>(malloc(largest_entry));
        result = text ? read_small_file(descriptor, text, largest_entry, &size) : -ENOMEM;
        close(descriptor);
    }
    if (result != 0) {
        dlog_print(log_error, log_tag, "package entry %s cannot be read: %s", path, strerror(-result));
        return result;
    }

    GKeyFile *file = g_key_file_new();
    result = parse(file, path, text, size);
    if (result != 0) {
        g_key_file_unref(file);
        return result;
    }
    if (file_)
        g_key_file_unref(file_);
    file_ = file;
    return 0;
}

char *PackageEntry::string(const char *key) const
{
    if (!file_)
        return nullptr;
    g_autofree char *text = g_key_file_get_string(file_, package_group, key, nullptr);
    return text ? strdup(text) : nullptr;
}

} // namespace kv::host
