// SPDX-License-Identifier: Apache-2.0
#include "runtime_directory.hpp"

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/packages/package_entry.hpp"

namespace kv::host {
namespace {

// Names become file names: they must stay in the directory, and not hide there.
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
        dlog_print(log_error, log_tag, "no runtime directory: set KORVANE_RUNTIME_DIR or XDG_RUNTIME_DIR");
        return -ENOENT;
    }
    if (directory[0] != '/') {
        dlog_print(log_error, log_tag, "the runtime directory '%s' is not an absolute path", directory);
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

int open_to_group(int descriptor, const char *directory, const struct stat &now, gid_t group)
{
    if (now.st_gid != group && fchown(descriptor, static_cast<uid_t>(-1), group) != 0)
        return fail("cannot give the package's group the runtime directory", directory);
    if ((now.st_mode & 07777) != 0750 && fchmod(descriptor, 0750) != 0)
        return fail("cannot open the runtime directory to the package's group:", directory);
    return 0;
}

int check_directory(int descriptor, const char *directory, gid_t group)
{
    struct stat now;
    if (fstat(descriptor, &now) != 0)
        return fail("cannot look at the runtime directory", directory);
    if (now.st_uid != geteuid() && now.st_uid != 0) {
        dlog_print(log_error, log_tag,
                   "the runtime directory %s belongs to user %u, not to %u; remove it or set "
                   "KORVANE_RUNTIME_DIR to another",
                   directory, now.st_uid, geteuid());
        return -EACCES;
    }
    if (now.st_mode & 022) {
        dlog_print(log_error, log_tag, "others can write to the runtime directory %s (mode %03o); make it 0700",
                   directory, now.st_mode & 0777U);
        return -EACCES;
    }
    return group == no_group || now.st_uid != geteuid() ? 0 : open_to_group(descriptor, directory, now, group);
}

} // namespace

int find_port_place(const char *appid, const char *port_name, PortPlace *place)
{
    if (!is_plain_name(appid) || !is_plain_name(port_name)) {
        dlog_print(log_error, log_tag,
                   "'%s' and '%s' do not name a port: no name may be empty, begin with '.' or "
                   "contain '/'",
                   appid ? appid : "", port_name ? port_name : "");
        return -EINVAL;
    }
    *place = {};
    if (int code = find_directory(place->directory, sizeof place->directory); code != 0 && code != -ENAMETOOLONG)
        return code;
    place->socket.sun_family = AF_UNIX;
    char *path = place->socket.sun_path;
    const int length =
        snprintf(path, sizeof place->socket.sun_path, "%s/%s.%s.sock", place->directory, appid, port_name);
    if (length < 0 || static_cast<size_t>(length) >= sizeof place->socket.sun_path) {
        dlog_print(log_error, log_tag,
                   "the socket of port %s.%s in %s... would have too long a path (limit %zu): set "
                   "KORVANE_RUNTIME_DIR to a shorter one",
                   appid, port_name, place->directory, sizeof place->socket.sun_path - 1);
        return -ENAMETOOLONG;
    }
    const int stem = length - static_cast<int>(strlen(".sock"));
    snprintf(place->serving_lock, sizeof place->serving_lock, "%.*s.lock", stem, path);
    snprintf(place->starting_lock, sizeof place->starting_lock, "%.*s.starting", stem, path);
    return 0;
}

gid_t package_group_id(const char *appid)
{
    PackageEntry entry;
    if (entry.open(appid) != 0)
        return no_group;
    char *name = entry.string(package_key::group);
    if (!name)
        return no_group;
    group found;
    group *result = nullptr;
    char text[4096];
    if (getgrnam_r(name, &found, text, sizeof text, &result) != 0 || !result) {
        dlog_print(log_error, log_tag,
                   "package %s names the group '%s', which does not exist: only the agent's own "
                   "user is admitted",
                   appid, name);
        result = nullptr;
    }
    free(name);
    return result ? result->gr_gid : no_group;
}

int make_runtime_directory(const char *directory, gid_t group)
{
    if (mkdir(directory, 0700) != 0 && errno != EEXIST)
        return fail("cannot make the runtime directory", directory);
    const int descriptor = open(directory, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return fail("cannot open the runtime directory", directory);
    const int result = check_directory(descriptor, directory, group);
    close(descriptor);
    return result;
}

int take_lock(const char *path)
{
    const int descriptor = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0)
        return fail("cannot open the lock file", path);
    while (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR)
            continue;
        const int code = errno == EWOULDBLOCK ? -EWOULDBLOCK : fail("cannot lock", path);
        close(descriptor);
        return code;
    }
    return descriptor;
}

} // namespace kv::host
