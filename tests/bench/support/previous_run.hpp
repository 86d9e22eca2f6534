// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

namespace kv::test {

/// The figures of the last run on this machine, in a file of the user's state directory. A run of some parts replaces
/// their figures only.
class PreviousRun {
public:
    /// Reads the file. Without one, or with one of another machine, there are no figures.
    PreviousRun();

    /// When the figures were stored; empty without figures.
    const std::string &date() const { return date_; }
    std::optional<double> figure(const std::string &row) const;
    /// Replaces the figures of these rows. Prints why if they cannot be stored.
    void store(const std::map<std::string, double> &figures) const;

private:
    std::string path_;
    std::string machine_;
    std::string date_;
    std::map<std::string, double> figures_;
};

} // namespace kv::test
