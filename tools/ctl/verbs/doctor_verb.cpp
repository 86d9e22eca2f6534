// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"

#include "common/agent_state.hpp"
#include "common/owned.hpp"

#include <app_event.h>
#include <korvane.h>

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

struct Finding {
    std::string text;
    std::string remedy{}; // empty: all is well
};

constexpr int not_installed = -18153359;
constexpr const char *install =
    "run 'korvanectl agent start', or 'korvane-agent --install' to have it started on demand";

Finding library()
{
    Dl_info info{};
    dladdr(reinterpret_cast<void *>(&korvane_initialize), &info); // NOLINT: its address is all that is wanted
    return {std::string{"libkorvane is "} + (info.dli_fname ? info.dli_fname : "part of this program")};
}

Finding program()
{
    const std::string path = agent_program();
    if (path.empty())
        return {"there is no korvane-agent beside this program or in PATH",
                "install the package korvane-agent, or set KORVANE_AGENT to the program"};
    if (access(path.c_str(), X_OK) != 0)
        return {path + " cannot be run: " + std::strerror(errno), "set KORVANE_AGENT to the virtual agent's program"};
    return {"the virtual agent is " + path};
}

std::string entry_value(const char *key)
{
    g_autoptr(GKeyFile) file = g_key_file_new();
    if (!g_key_file_load_from_file(file, package_entry().c_str(), G_KEY_FILE_NONE, nullptr))
        return "";
    g_autofree char *value = g_key_file_get_string(file, "Package", key, nullptr);
    return value ? value : "";
}

Finding entry()
{
    const std::string path = package_entry();
    PackageInfo info;
    const int code = package_info_create(KORVANE_AGENT_APPID, info.out());
    if (code == not_installed)
        return {"no agent is installed: there is no " + path, install};
    if (code != 0)
        return {path + " cannot be read or is malformed (" + std::to_string(code) + ")",
                "remove it, then " + std::string{install}};
    CText version;
    package_info_get_version(info.get(), version.out());
    int major = 0;
    int minor = 0;
    if (!version || std::sscanf(version.get(), "%d.%d", &major, &minor) != 2)
        return {path + " says version '" + (version ? version.get() : "") + "', which is none",
                "remove it, then " + std::string{install}};
    return {std::string{"agent "} + version.get() + " is installed by " + path};
}

Finding executable()
{
    const std::string path = entry_value("Executable");
    if (path.empty())
        return {"the agent is not started on demand: its entry names no executable"};
    if (access(path.c_str(), X_OK) != 0)
        return {"the entry's executable " + path + " cannot be run: " + std::strerror(errno),
                "run 'korvane-agent --install' with the agent that is to be used"};
    return {"applications start " + path + " when no agent runs"};
}

Finding directory()
{
    const std::string path = runtime_directory();
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        const std::string parent = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
        if (errno == ENOENT && access(parent.c_str(), W_OK | X_OK) == 0)
            return {path + " is not there yet; the agent makes it"};
        return {path + " cannot be made in " + parent + ": " + std::strerror(errno),
                "make " + parent + ", or set KORVANE_RUNTIME_DIR to a directory of yours"};
    }
    if (!S_ISDIR(status.st_mode))
        return {path + " is no directory", "remove it, or set KORVANE_RUNTIME_DIR to another"};
    if (status.st_uid != geteuid() && status.st_uid != 0)
        return {path + " belongs to user " + std::to_string(status.st_uid),
                "set KORVANE_RUNTIME_DIR to a directory of yours"};
    if ((status.st_mode & 022) != 0)
        return {"others can write to " + path, "chmod 0700 " + path};
    return {path + " is there, and others cannot write to it"};
}

/// 0 when somebody listens.
int knock(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int link = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int result = connect(link, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 ? 0 : errno; // NOLINT
    close(link);
    return result;
}

Finding port()
{
    const std::string path = agent_socket();
    const bool startable = !entry_value("Executable").empty();
    switch (const int code = knock(path)) {
    case 0: return {"an agent listens at " + path};
    case ENOENT:
    case ECONNREFUSED:
        if (startable)
            return {"no agent runs; one is started when an application connects"};
        return {code == ENOENT ? "no agent runs"
                               : "no agent runs; the last one left " + path + " behind, which does no harm",
                "run 'korvanectl agent start'"};
    default:
        return {path + " cannot be reached: " + std::strerror(code),
                "run this as the user that the agent runs as, or as root"};
    }
}

/// The process that holds a lock on the file, as the system knows it; 0 for none.
pid_t holder_of(const struct stat &file)
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

Finding locks()
{
    const std::string socket = agent_socket();
    const std::string stem = socket.substr(0, socket.size() - std::strlen(".sock"));
    const bool served = knock(socket) == 0;
    for (const std::string &path : {stem + ".lock", stem + ".starting"}) {
        struct stat file {};
        if (stat(path.c_str(), &file) != 0)
            continue;
        const int lock = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
        if (lock < 0)
            return {path + " cannot be opened: " + std::strerror(errno), "remove it while no agent runs"};
        const bool held = flock(lock, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        close(lock);
        if (held && !served) {
            const std::string pid = std::to_string(holder_of(file));
            return {path + " is held by process " + pid + ", but no agent listens",
                    "end process " + pid + ": kill " + pid};
        }
    }
    return {"no lock is in the way"};
}

Finding bus()
{
    event_handler_h handler = nullptr;
    const int code = event_add_event_handler(
        KORVANE_UPDATE_STATUS_EVENT, [](const char *, bundle *, void *) {}, nullptr, &handler);
    if (code == 0) {
        event_remove_event_handler(handler);
        return {"the message bus is there"};
    }
    const char *chosen = std::getenv("KORVANE_BUS");
    return {std::string{"there is no message bus ("} + (chosen && *chosen ? chosen : "session") +
                "), so applications do not hear of updates of the agent",
            "start applications and the agent below 'dbus-run-session --', or set KORVANE_BUS"};
}

struct Check {
    const char *name;
    Finding (*look)();
};

constexpr Check checks[] = {
    {"library", library},
    {"program", program},
    {"package", entry},
    {"executable", executable},
    {"runtime directory", directory},
    {"port", port},
    {"locks", locks},
    {"bus", bus},
};

std::function<int()> set_up_doctor(CLI::App &, Context &context)
{
    return [&context] {
        setenv("KORVANE_LOG", "off", false); // what is wrong is said here
        const Output &out = context.out;
        int problems = 0;
        for (const Check &check : checks) {
            Finding finding;
            try {
                finding = check.look();
            } catch (const Failure &problem) {
                finding = {problem.what(), "set KORVANE_RUNTIME_DIR and KORVANE_PACKAGE_DIR to short absolute paths"};
            }
            const bool good = finding.remedy.empty();
            problems += good ? 0 : 1;
            Json facts{{"check", check.name}, {"ok", good}, {"found", finding.text}};
            std::string words = good ? out.in(Output::Colour::green, "ok    ") : out.in(Output::Colour::red, "WRONG ");
            words += std::string{check.name} + ": " + finding.text;
            if (!good) {
                facts["remedy"] = finding.remedy;
                words += "\n      -> " + out.in(Output::Colour::bold, finding.remedy);
            }
            out.line(words, facts);
        }
        return static_cast<int>(problems == 0 ? done : failed);
    };
}

} // namespace

const Verb doctor_verb{"doctor", "looks whether applications can reach an agent here, and says what to do if not",
                       "  korvanectl doctor\n"
                       "  korvanectl doctor --json | jq -r 'select(.ok | not) | .remedy'",
                       set_up_doctor};

} // namespace kv::ctl
