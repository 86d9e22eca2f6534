// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace kv::test {

/// One line of the platform log, split into its parts. The source line number is checked for its form and not kept.
struct LogLine {
    int priority = 0;
    std::string tag;
    std::string file;
    std::string function;
    std::string api_version; // "2.3.3"; empty in lines of the proxy
    std::string message;

    bool operator==(const LogLine &) const = default;
};

std::ostream &operator<<(std::ostream &out, const LogLine &line);

// Expected lines, by the layer that writes them.
LogLine api_info(std::string function, std::string message);
LogLine api_warning(std::string function, std::string message);
LogLine api_error(std::string function, std::string message);
LogLine common_info(std::string function, std::string message);
LogLine common_error(std::string function, std::string message);
LogLine proxy_info(std::string function, std::string message);
LogLine proxy_warning(std::string function, std::string message);
LogLine proxy_error(std::string function, std::string message);

using LogLines = std::vector<LogLine>;

class Log {
public:
    void add(int priority, const char *tag, const std::string &text);
    void clear() { lines_.clear(); }

    const LogLines &lines() const { return lines_; }
    /// The lines of the exported functions and the runtime.
    LogLines api() const;
    /// The lines of the proxy.
    LogLines proxy() const;
    LogLines errors() const;
    /// The number of lines with this message, from all layers.
    unsigned count(std::string_view message) const;
    bool has(const LogLine &line) const;
    /// Texts that are not well-formed lines.
    const std::vector<std::string> &malformed() const { return malformed_; }

private:
    LogLines lines_;
    std::vector<std::string> malformed_;
};

} // namespace kv::test
