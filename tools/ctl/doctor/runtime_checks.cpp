// SPDX-License-Identifier: Apache-2.0
// The checks at run time: the runtime directory, the agent's port and its locks, and the message bus.
#include "checks.hpp"

#include "tools/ctl/agent/paths.hpp"

#include "common/agent_state.hpp"

#include <app_event.h>
#include <korvane.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr mode_t writable_by_others = 022;

/// For a runtime directory whose status cannot be read; errno gives the reason.
Finding missing_directory(const std::string &path)
{
    const int reason = errno;
    const std::string parent = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
    if (reason == ENOENT && access(parent.c_str(), W_OK | X_OK) == 0)
        return {path + " does not exist yet; the agent creates it"};
    return {path + " cannot be created in " + parent + ": " + std::strerror(reason),
            "create " + parent + ", or set KORVANE_RUNTIME_DIR to a directory of yours"};
}

/// Connects to a socket. Returns 0 if a process accepts connections there, else the errno.
int connect_to(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int link = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int result = connect(link, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 ? 0 : errno; // NOLINT
    close(link);
    return result;
}

Finding no_agent_at_port(const std::string &path, bool socket_exists)
{
    if (!package_value("Executable").empty())
        return {"no agent runs; one is started when an application connects"};
    return {socket_exists ? "no agent runs; the last one left " + path + " behind, which is harmless" : "no agent runs",
            "run 'korvanectl agent start'"};
}

/// The process that /proc/locks names for a file; 0 if there is none.
pid_t lock_holder(const struct stat &file)
{
    std::ifstream locks{"/proc/locks"};
    const std::string inode = ":" + std::to_string(file.st_ino) + " ";
    for (std::string line; std::getline(locks, line);) {
        if (line.find(inode) == std::string::npos || line.find("FLOCK") == std::string::npos)
            continue;
        std::istringstream words{line};
        std::string word;
        pid_t pid = 0;
        words >> word >> word >> word >> word >> pid;
        return pid;
    }
    return 0;
}

/// Checks one lock file of a port without an agent. Returns nullopt if it is free.
std::optional<Finding> check_lock(const std::string &path)
{
    struct stat file {};
    if (stat(path.c_str(), &file) != 0)
        return std::nullopt;
    const int lock = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (lock < 0)
        return Finding{path + " cannot be opened: " + std::strerror(errno), "remove it while no agent runs"};
    const bool held = flock(lock, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(lock);
    if (!held)
        return std::nullopt;
    const std::string pid = std::to_string(lock_holder(file));
    return Finding{path + " is locked by process " + pid + ", but no agent listens",
                   "end process " + pid + ": kill " + pid};
}

} // namespace

Finding check_runtime_directory()
{
    const std::string path = runtime_directory();
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return missing_directory(path);
    if (!S_ISDIR(status.st_mode))
        return {path + " is not a directory", "remove it, or set KORVANE_RUNTIME_DIR to another path"};
    if (status.st_uid != geteuid() && status.st_uid != 0)
        return {path + " belongs to user " + std::to_string(status.st_uid),
                "set KORVANE_RUNTIME_DIR to a directory of yours"};
    if ((status.st_mode & writable_by_others) != 0)
        return {"other users can write to " + path, "chmod 0700 " + path};
    return {path + " exists, and other users cannot write to it"};
}

Finding check_port()
{
    const std::string path = agent_socket();
    switch (const int code = connect_to(path)) {
    case 0: return {"an agent listens at " + path};
    case ENOENT:
    case ECONNREFUSED: return no_agent_at_port(path, code == ECONNREFUSED);
    default:
        return {path + " cannot be reached: " + std::strerror(code),
                "run this as the user of the agent's process, or as root"};
    }
}

Finding check_locks()
{
    const std::string socket = agent_socket();
    const std::string stem = socket.substr(0, socket.size() - std::strlen(".sock"));
    const bool agent_listens = connect_to(socket) == 0; // it holds a lock while it runs
    for (const std::string &path : {stem + ".lock", stem + ".starting"})
        if (const std::optional<Finding> wrong = agent_listens ? std::nullopt : check_lock(path))
            return *wrong;
    return {"no lock prevents an agent from starting"};
}

Finding check_bus()
{
    event_handler_h handler = nullptr;
    const int code = event_add_event_handler(
        KORVANE_UPDATE_STATUS_EVENT, [](const char *, bundle *, void *) {}, nullptr, &handler);
    if (code == 0) {
        event_remove_event_handler(handler);
        return {"the message bus can be reached"};
    }
    const char *chosen = std::getenv("KORVANE_BUS");
    return {std::string{"the message bus cannot be reached ("} + (chosen && *chosen ? chosen : "session") +
                "), so applications receive no events about updates of the agent",
            "start applications and the agent below 'dbus-run-session --', or set KORVANE_BUS"};
}

} // namespace kv::ctl
