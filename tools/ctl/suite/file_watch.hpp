// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/process/loop.hpp"

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kv::ctl {

/// Notices changes of files and signals that end the program, also those that come before wait() is called.
class FileWatch {
public:
    /// Watches scenario files, the "*.json" files in and below folders of them, and single files, which need not exist yet.
    /// Ignores a path whose folder does not exist, and a folder among the single files. Throws Failure if the system cannot
    /// watch.
    FileWatch(const std::vector<std::string> &scenarios, const std::vector<std::string> &files);
    FileWatch(const FileWatch &) = delete;
    FileWatch &operator=(const FileWatch &) = delete;
    ~FileWatch();

    /// Whether a signal has arrived that ends the program.
    bool interrupted() const { return interrupted_; }

    /// Waits for a change, and until nothing has changed for a moment: editors and linkers write in several steps. Returns
    /// false if a signal ended the wait.
    bool wait();

private:
    void watch_file(const std::filesystem::path &path);
    void watch_folder(const std::filesystem::path &folder);
    int add(const std::filesystem::path &folder);
    bool read_changes();
    bool matters(int watch, const std::string &name) const;

    Loop loop_{};
    bool interrupted_ = false;
    int inotify_;
    std::map<int, std::set<std::string>> files_{}; ///< names of single files, by the watch of their folder
    std::set<int> folders_{};                      ///< watches of whole folders
};

} // namespace kv::ctl
