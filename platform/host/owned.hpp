// SPDX-License-Identifier: Apache-2.0
//
// The owning types of the host platform. They use malloc and free: the library is loaded by every application and
// carries no C++ runtime. Allocation failure is a null pointer.
#pragma once

#include <glib.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace kv::host {

struct Free {
    void operator()(void *memory) const { free(memory); }
};

/// Memory from malloc without a destructor to run.
template <class T>
using Allocated = std::unique_ptr<T, Free>;

/// Text from malloc.
using CText = Allocated<char>;

inline CText copy_text(const char *text)
{
    return CText{strdup(text)};
}

struct Destroy {
    template <class T>
    void operator()(T *object) const
    {
        object->~T();
        free(object);
    }
};

/// An object that make() created.
template <class T>
using Owned = std::unique_ptr<T, Destroy>;

/// Null when out of memory.
template <class T>
Owned<T> make()
{
    void *memory = malloc(sizeof(T));
    return Owned<T>{memory ? new (memory) T() : nullptr};
}

/// Shared ownership of an object with a member `unsigned references`, which counts its owners. Not for several threads.
template <class T>
class Ref {
public:
    explicit Ref(T *object) : object_(object) { object_->references++; }
    /// Takes over a reference that is counted already.
    static Ref adopt(T *object)
    {
        object->references--;
        return Ref{object};
    }
    Ref(Ref &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref(const Ref &) = delete;
    Ref &operator=(const Ref &) = delete;
    ~Ref()
    {
        if (object_ && --object_->references == 0)
            Destroy{}(object_);
    }

    T *get() const { return object_; }
    T *operator->() const { return object_; }

private:
    T *object_;
};

/// A file descriptor, closed by the destructor.
class Fd {
public:
    Fd() = default;
    explicit Fd(int descriptor) : descriptor_(descriptor) {}
    Fd(Fd &&other) noexcept : descriptor_(other.release()) {}
    Fd &operator=(Fd &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~Fd() { reset(); }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }
    int release() { return std::exchange(descriptor_, -1); }
    /// Leaves errno as it is.
    void reset(int descriptor = -1)
    {
        const int before = std::exchange(descriptor_, descriptor);
        if (before < 0)
            return;
        const int error = errno;
        close(before);
        errno = error;
    }

private:
    int descriptor_ = -1;
};

/// Holds a mutex until the end of a scope.
class Lock {
public:
    explicit Lock(pthread_mutex_t *mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
    ~Lock() { pthread_mutex_unlock(mutex_); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

private:
    pthread_mutex_t *mutex_;
};

/// A source of a main loop, removed from it by the destructor.
class Source {
public:
    Source() = default;
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;
    ~Source() { reset(); }

    GSource *get() const { return source_; }
    explicit operator bool() const { return source_ != nullptr; }
    void reset(GSource *source = nullptr)
    {
        if (GSource *before = std::exchange(source_, source)) {
            g_source_destroy(before);
            g_source_unref(before);
        }
    }

private:
    GSource *source_ = nullptr;
};

} // namespace kv::host
