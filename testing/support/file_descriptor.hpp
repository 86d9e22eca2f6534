// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include <unistd.h>

namespace kv::test {

/// An open file descriptor, closed on destruction; -1 if there is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        close();
        descriptor_ = std::exchange(other.descriptor_, -1);
        return *this;
    }
    ~FileDescriptor() { close(); }

    int get() const { return descriptor_; }
    bool is_open() const { return descriptor_ >= 0; }
    void close()
    {
        if (is_open())
            ::close(std::exchange(descriptor_, -1));
    }

private:
    int descriptor_ = -1;
};

} // namespace kv::test
