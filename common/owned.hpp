// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <app_event.h>
#include <package_info.h>

#include <glib.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace kv {

/// Owns a text that was allocated with malloc, or null.
class CText {
public:
    CText() = default;
    explicit CText(char *text) : text_(text) {}
    CText(CText &&other) noexcept : text_(other.release()) {}
    CText &operator=(CText &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~CText() { free(text_); }

    /// Holds null if `text` is null or memory runs out.
    static CText copy(const char *text) { return CText{text ? strdup(text) : nullptr}; }

    char *get() const { return text_; }
    explicit operator bool() const { return text_ != nullptr; }
    char *release() { return std::exchange(text_, nullptr); }
    void reset(char *text = nullptr) { free(std::exchange(text_, text)); }
    /// Like reset(), for an object that is known to hold null.
    void fill(char *text) { text_ = text; }
    /// For functions that return a text through an argument. Frees the present text.
    char **out()
    {
        reset();
        return &text_;
    }

private:
    char *text_ = nullptr;
};

/// Returns a zero-filled object in memory from malloc, or null. Everything that an opaque handle refers to is made so.
template <class T, class... Arguments>
T *make_zeroed(Arguments... arguments)
{
    void *memory = calloc(1, sizeof(T));
    return memory ? new (memory) T{arguments...} : nullptr;
}

template <class T>
void destroy(T *object)
{
    object->~T();
    free(object);
}

/// Owns an object of make_zeroed().
template <class T>
class Owned {
public:
    Owned() = default;
    explicit Owned(T *object) : object_(object) {}
    Owned(Owned &&other) noexcept : object_(other.release()) {}
    Owned &operator=(Owned &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~Owned() { reset(); }

    T *get() const { return object_; }
    T *operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    T *release() { return std::exchange(object_, nullptr); }
    void reset(T *object = nullptr)
    {
        if (T *old = std::exchange(object_, object))
            destroy(old);
    }

private:
    T *object_ = nullptr;
};

class PackageInfo {
public:
    PackageInfo() = default;
    PackageInfo(const PackageInfo &) = delete;
    PackageInfo &operator=(const PackageInfo &) = delete;
    ~PackageInfo()
    {
        if (info_)
            package_info_destroy(info_);
    }

    package_info_h get() const { return info_; }
    package_info_h *out() { return &info_; }

private:
    package_info_h info_ = nullptr;
};

class EventHandler {
public:
    EventHandler() = default;
    EventHandler(const EventHandler &) = delete;
    EventHandler &operator=(const EventHandler &) = delete;
    ~EventHandler() { remove(); }

    /// To be called once.
    int add(const char *event, event_cb callback, void *data)
    {
        event_handler_h handler = nullptr;
        int err = event_add_event_handler(event, callback, data, &handler);
        if (err == 0)
            handler_ = handler;
        return err;
    }
    void remove()
    {
        if (event_handler_h handler = std::exchange(handler_, nullptr))
            event_remove_event_handler(handler);
    }

private:
    event_handler_h handler_ = nullptr;
};

/// One idle source of the main context that was the thread's default when this object was made. Destruction removes it.
class IdleSource {
public:
    IdleSource() : context_(g_main_context_get_thread_default())
    {
        if (context_)
            g_main_context_ref(context_);
    }
    IdleSource(const IdleSource &) = delete;
    IdleSource &operator=(const IdleSource &) = delete;
    ~IdleSource()
    {
        remove();
        if (context_)
            g_main_context_unref(context_);
    }

    bool pending() const { return id_ != 0; }

    void add(GSourceFunc run, void *data)
    {
        if (!context_) {
            id_ = g_idle_add_full(G_PRIORITY_DEFAULT, run, data, nullptr);
            return;
        }
        GSource *source = g_idle_source_new();
        g_source_set_priority(source, G_PRIORITY_DEFAULT);
        g_source_set_callback(source, run, data, nullptr);
        id_ = g_source_attach(source, context_);
        g_source_unref(source);
    }

    /// To be called by the source's function, which then returns G_SOURCE_REMOVE.
    void ran() { id_ = 0; }

    void remove()
    {
        const unsigned id = std::exchange(id_, 0U);
        if (id == 0)
            return;
        if (GSource *source = g_main_context_find_source_by_id(context_, id))
            g_source_destroy(source);
    }

private:
    GMainContext *context_; // NULL is the global default one
    unsigned id_ = 0;
};

} // namespace kv
