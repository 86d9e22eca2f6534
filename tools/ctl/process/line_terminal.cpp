// SPDX-License-Identifier: Apache-2.0
#include "line_terminal.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr std::size_t max_name = 128;

/// Opens the program's side; -1 if the system refuses. Its bytes pass unchanged: no echo, no other line ends.
int open_program_side(int own_side)
{
    char name[max_name];
    if (own_side < 0 || grantpt(own_side) != 0 || unlockpt(own_side) != 0 ||
        ptsname_r(own_side, name, sizeof name) != 0)
        return -1;
    const int side = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings = {};
    if (side >= 0 && tcgetattr(side, &settings) == 0) {
        cfmakeraw(&settings);
        tcsetattr(side, TCSANOW, &settings);
    }
    return side;
}

void write_all(int target, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(target, bytes, size);
        if (written < 0 && errno != EINTR)
            return; // the reader of this output has ended
        bytes += written > 0 ? written : 0;
        size -= written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

} // namespace

LineTerminal::LineTerminal(int target)
    : target_(target), own_side_(open("/dev/ptmx", O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)),
      program_side_(open_program_side(own_side_))
{
}

LineTerminal::~LineTerminal()
{
    close_program_side();
    if (own_side_ >= 0)
        close(own_side_);
}

void LineTerminal::close_program_side()
{
    if (program_side_ >= 0)
        close(program_side_);
    program_side_ = -1;
}

bool LineTerminal::pass_on() const
{
    char bytes[16 * 1024];
    const ssize_t size = read(own_side_, bytes, sizeof bytes);
    if (size <= 0) // another error than these means that the program has closed its side
        return size < 0 && (errno == EAGAIN || errno == EINTR);
    write_all(target_, bytes, static_cast<std::size_t>(size));
    return true;
}

void LineTerminal::pass_on_all() const
{
    errno = 0;
    while (pass_on() && errno != EAGAIN)
        errno = 0;
}

} // namespace kv::ctl
