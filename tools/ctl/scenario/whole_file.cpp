// SPDX-License-Identifier: Apache-2.0
#include "whole_file.hpp"

#include "tools/ctl/output/failure.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

bool is_special(const std::string &path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

} // namespace

WholeFile::WholeFile(std::string path, mode_t mode, std::string consequence)
    : path_(std::move(path)), temporary_(is_special(path_) ? path_ : path_ + ".part"),
      consequence_(std::move(consequence))
{
    const int flags = O_WRONLY | O_CLOEXEC | (in_place() ? 0 : O_CREAT | O_TRUNC | O_NOFOLLOW);
    fd_ = open(temporary_.c_str(), flags, mode);
    if (fd_ < 0)
        throw Failure{failed, "cannot write " + path_ + ": " + std::strerror(errno)};
}

WholeFile::~WholeFile()
{
    if (fd_ < 0)
        return;
    close(fd_);
    if (!in_place())
        unlink(temporary_.c_str());
}

void WholeFile::fail() const
{
    throw Failure{failed, "cannot write " + path_ + ": " + std::strerror(errno) + consequence_};
}

void WholeFile::write_all(const std::string &text) const
{
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t written = ::write(fd_, text.data() + at, text.size() - at);
        if (written < 0 && errno != EINTR)
            fail();
        at += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

void WholeFile::write(const std::string &text)
{
    write_all(text);
    if (!in_place() && (fsync(fd_) != 0 || rename(temporary_.c_str(), path_.c_str()) != 0))
        fail();
    close(std::exchange(fd_, -1));
}

} // namespace kv::ctl
