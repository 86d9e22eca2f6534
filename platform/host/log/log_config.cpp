// SPDX-License-Identifier: Apache-2.0
#include "log_config.hpp"

#include "log.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kv::host {

namespace {

struct Level {
    const char *name;
    int threshold;
};

constexpr Level levels[] = {
    {"off", INT_MAX}, {"error", log_error}, {"warning", log_warning}, {"info", log_info}, {"debug", log_debug},
};

bool equals(const char *text, std::size_t size, const char *name)
{
    return strlen(name) == size && memcmp(text, name, size) == 0;
}

/// Reads a level: a name, or the lowest priority to print as one digit.
bool read_level(const char *text, std::size_t size, int *threshold)
{
    for (const Level &level : levels) {
        if (equals(text, size, level.name)) {
            *threshold = level.threshold;
            return true;
        }
    }
    if (size != 1 || text[0] < '0' || text[0] > '9')
        return false;
    *threshold = text[0] - '0';
    return true;
}

bool read_destination(const char *text, LogConfig *config)
{
    static constexpr char file_prefix[] = "file:";
    if (strcmp(text, "stderr") == 0) {
        config->destination = LogDestination::standard_error;
        return true;
    }
    if (strcmp(text, "journal") == 0) {
        config->destination = LogDestination::journal;
        return true;
    }
    if (strncmp(text, file_prefix, sizeof file_prefix - 1) == 0 && text[sizeof file_prefix - 1] != '\0') {
        config->destination = LogDestination::file;
        config->file = text + sizeof file_prefix - 1;
        return true;
    }
    return false;
}

/// Whether stderr still is the stream that the service manager connected to the journal and named by device and inode.
bool stderr_is_the_journal()
{
    const char *stream = getenv("JOURNAL_STREAM");
    unsigned long long device = 0;
    unsigned long long inode = 0;
    struct stat status;
    return stream && sscanf(stream, "%llu:%llu", &device, &inode) == 2 && fstat(STDERR_FILENO, &status) == 0 &&
           status.st_dev == device && status.st_ino == inode;
}

} // namespace

LogConfig log_config_from_environment()
{
    const LogDestination default_destination =
        stderr_is_the_journal() ? LogDestination::journal : LogDestination::standard_error;
    const LogConfig defaults{log_error, default_destination, nullptr, nullptr};

    // Ignored in a program with more rights than its caller, who could make it write to any file.
    const char *value = secure_getenv("KORVANE_LOG");
    if (!value || *value == '\0')
        return defaults;

    LogConfig config = defaults;
    const char *colon = strchr(value, ':');
    const std::size_t level_size = colon ? static_cast<std::size_t>(colon - value) : strlen(value);
    if (read_level(value, level_size, &config.threshold) && (!colon || read_destination(colon + 1, &config)))
        return config;
    config = defaults;
    config.rejected = value;
    return config;
}

} // namespace kv::host
