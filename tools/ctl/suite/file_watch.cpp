// SPDX-License-Identifier: Apache-2.0
#include "file_watch.hpp"

#include "tools/ctl/output/failure.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr unsigned quiet_ms = 200;
/// A file is also replaced by renaming another one.
constexpr std::uint32_t changes = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ATTRIB;

[[noreturn]] void fail(const std::string &what)
{
    throw Failure{failed, "cannot watch " + what + ": " + std::strerror(errno)};
}

} // namespace

FileWatch::FileWatch(const std::vector<std::string> &scenarios, const std::vector<std::string> &files)
    : inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (inotify_ < 0)
        fail("files");
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        loop_.on_signal(number, [this] {
            interrupted_ = true;
            loop_.quit();
        });
    std::error_code ignored;
    for (const std::string &path : scenarios)
        std::filesystem::is_directory(path, ignored) ? watch_folder(path) : watch_file(path);
    for (const std::string &path : files)
        watch_file(path);
}

FileWatch::~FileWatch()
{
    close(inotify_);
}

int FileWatch::add(const std::filesystem::path &folder)
{
    const int watch = inotify_add_watch(inotify_, folder.c_str(), changes);
    if (watch < 0)
        fail(folder);
    return watch;
}

void FileWatch::watch_file(const std::filesystem::path &path)
{
    std::error_code ignored;
    const std::filesystem::path file = std::filesystem::absolute(path);
    if (std::filesystem::is_directory(file, ignored) || !std::filesystem::exists(file.parent_path(), ignored))
        return;
    files_[add(file.parent_path())].insert(file.filename());
}

void FileWatch::watch_folder(const std::filesystem::path &folder)
{
    folders_.insert(add(folder));
    for (const auto &entry : std::filesystem::recursive_directory_iterator{
             folder, std::filesystem::directory_options::skip_permission_denied})
        if (entry.is_directory())
            folders_.insert(add(entry.path()));
}

bool FileWatch::matters(int watch, const std::string &name) const
{
    const auto files = files_.find(watch);
    return (files != files_.end() && files->second.contains(name)) ||
           (folders_.contains(watch) && name.ends_with(".json"));
}

/// Returns whether one of the changes that have arrived matters.
bool FileWatch::read_changes()
{
    bool any = false;
    alignas(inotify_event) char buffer[16 * 1024];
    for (ssize_t size = 0; (size = read(inotify_, buffer, sizeof buffer)) > 0;)
        for (const char *at = buffer; at < buffer + size;) {
            const auto *event = reinterpret_cast<const inotify_event *>(at);
            any = any || (event->len > 0 && matters(event->wd, event->name));
            at += sizeof *event + event->len;
        }
    return any;
}

bool FileWatch::wait()
{
    if (interrupted_)
        return false;
    unsigned change = 0;
    loop_.on_readable(inotify_, [&] {
        if (read_changes())
            loop_.after_ms(quiet_ms, [&, this_one = ++change] {
                if (this_one == change)
                    loop_.quit();
            });
        return true;
    });
    loop_.run();
    return !interrupted_;
}

} // namespace kv::ctl
