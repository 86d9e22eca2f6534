// SPDX-License-Identifier: Apache-2.0
#include "runtime_directory.hpp"

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/packages/package_entry.hpp"

namespace kv::host {
namespace {

// Whether the name, as part of a file name, stays in the directory and is not hidden there.
bool is_plain_name(const char *name)
{
    return name && name[0] != '\0' && name[0] != '.' && !strchr(name, '/');
}

int find_directory(char *directory, size_t size)
{
    int length = 0;
    if (const char *own = secure_getenv("KORVANE_RUNTIME_DIR"); own && own[0]) {
        length = snprintf(directory, size, "%s", own);
    } else if (const char *session = secure_getenv("XDG_RUNTIME_DIR"); session && session[0]) {
        length = snprintf(directory, size, "%s/korvane", session);
    } else if (geteuid() == 0) {
        length = snprintf(directory, size, "/run/korvane");
    } else {
        dlog_print(log_error, log_tag, "cannot find the runtime directory: set KORVANE_RUNTIME_DIR or XDG_RUNTIME_DIR");
        return -ENOENT;
    }
    if (directory[0] != '/') {
        dlog_print(log_error, log_tag,
                   "the runtime directory '%s' is not an absolute path: correct KORVANE_RUNTIME_DIR or XDG_RUNTIME_DIR",
                   directory);
        return -EINVAL;
    }
    return length > 0 && static_cast<size_t>(length) < size ? 0 : -ENAMETOOLONG;
}

int fail(const char *what, const char *path)
{
    const int error = errno;
    dlog_print(log_error, log_tag, "%s %s: %s", what, path, strerror(error));
    return -error;
}

int open_to_group(int descriptor, const char *directory, const struct stat &status, gid_t group)
{
    if (status.st_gid != group && fchown(descriptor, static_cast<uid_t>(-1), group) != 0)
        return fail("cannot change the group of the runtime directory", directory);
    if ((status.st_mode & 07777) != 0750 && fchmod(descriptor, 0750) != 0)
        return fail("cannot open the runtime directory to the package's group:", directory);
    return 0;
}

int check_directory(int descriptor, const char *directory, gid_t group)
{
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        return fail("cannot read the status of the runtime directory", directory);
    if (status.st_uid != geteuid() && status.st_uid != 0) {
        dlog_print(log_error, log_tag,
                   "the runtime directory %s belongs to user %u, not to %u; remove it or set "
                   "KORVANE_RUNTIME_DIR to another",
                   directory, status.st_uid, geteuid());
        return -EACCES;
    }
    if (status.st_mode & 022) {
        dlog_print(log_error, log_tag,
                   "other users can write to the runtime directory %s (mode %03o); change its mode to 0700", directory,
                   status.st_mode & 0777U);
        return -EACCES;
    }
    return group == no_group || status.st_uid != geteuid() ? 0 : open_to_group(descriptor, directory, status, group);
}

} // namespace

int find_port_paths(const char *appid, const char *port_name, PortPaths *paths)
{
    if (!is_plain_name(appid) || !is_plain_name(port_name)) {
        dlog_print(log_error, log_tag,
                   "'%s' and '%s' do not name a port: a name must not be empty, begin with '.' or "
                   "contain '/'",
                   appid ? appid : "", port_name ? port_name : "");
        return -EINVAL;
    }
    *paths = {};
    if (int code = find_directory(paths->directory, sizeof paths->directory); code != 0 && code != -ENAMETOOLONG)
        return code;
    paths->socket.sun_family = AF_UNIX;
    char *path = paths->socket.sun_path;
    const int length =
        snprintf(path, sizeof paths->socket.sun_path, "%s/%s.%s.sock", paths->directory, appid, port_name);
    if (length < 0 || static_cast<size_t>(length) >= sizeof paths->socket.sun_path) {
        dlog_print(log_error, log_tag,
                   "the path of the socket of port %s.%s in %s... is longer than %zu bytes: set "
                   "KORVANE_RUNTIME_DIR to a shorter path",
                   appid, port_name, paths->directory, sizeof paths->socket.sun_path - 1);
        return -ENAMETOOLONG;
    }
    const int stem = length - static_cast<int>(strlen(".sock"));
    snprintf(paths->serving_lock, sizeof paths->serving_lock, "%.*s.lock", stem, path);
    snprintf(paths->starting_lock, sizeof paths->starting_lock, "%.*s.starting", stem, path);
    return 0;
}

gid_t package_group_id(const char *appid)
{
    PackageEntry entry;
    if (entry.open(appid) != 0)
        return no_group;
    const CText name = entry.string(package_key::group);
    if (!name)
        return no_group;
    group found;
    group *result = nullptr;
    char text[4096];
    if (getgrnam_r(name.get(), &found, text, sizeof text, &result) != 0 || !result) {
        dlog_print(log_error, log_tag,
                   "package %s names the group '%s', which does not exist: the agent admits only its own "
                   "user and root",
                   appid, name.get());
        result = nullptr;
    }
    return result ? result->gr_gid : no_group;
}

int create_runtime_directory(const char *directory, gid_t group)
{
    if (mkdir(directory, 0700) != 0 && errno != EEXIST)
        return fail("cannot create the runtime directory", directory);
    const Fd opened{open(directory, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
    if (!opened)
        return fail("cannot open the runtime directory", directory);
    return check_directory(opened.get(), directory, group);
}

int take_lock(const char *path, Fd *lock)
{
    Fd file{open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)};
    if (!file)
        return fail("cannot open the lock file", path);
    while (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR)
            return errno == EWOULDBLOCK ? -EWOULDBLOCK : fail("cannot lock", path);
    }
    *lock = std::move(file);
    return 0;
}

} // namespace kv::host
