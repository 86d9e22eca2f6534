// SPDX-License-Identifier: Apache-2.0
#include "link.hpp"

#include "tools/ctl/process/loop.hpp"

#include <utility>

namespace kv::ctl {

namespace {

End other(End end)
{
    return end == application ? agent : application;
}

} // namespace

/// A read or a write that GLib carries out. It keeps the link alive until it has ended.
struct Link::Operation {
    std::shared_ptr<Link> link;
    End from;
};

Link::Link(Ref<GSocketConnection> to_application, Ref<GSocketConnection> to_agent, LinkReader reader)
    : connections_{std::move(to_application), std::move(to_agent)}, reader_(std::move(reader))
{
}

void Link::start()
{
    read(application);
    read(agent);
}

void Link::cut()
{
    for (const End end : {application, agent})
        g_socket_shutdown(socket(end), true, true, nullptr);
}

void Link::read(End from)
{
    GInputStream *stream = g_io_stream_get_input_stream(G_IO_STREAM(connections_[from].get()));
    Direction &direction = directions_[from];
    g_input_stream_read_async(stream, direction.bytes.data(), direction.bytes.size(), G_PRIORITY_DEFAULT, nullptr,
                              finish_read, new Operation{shared_from_this(), from});
}

void Link::finish_read(GObject *stream, GAsyncResult *result, gpointer data)
{
    const std::unique_ptr<Operation> operation{static_cast<Operation *>(data)};
    const gssize size = g_input_stream_read_finish(G_INPUT_STREAM(stream), result, nullptr);
    Loop::guard([&] { operation->link->on_read(operation->from, size); });
}

void Link::on_read(End from, gssize size)
{
    if (size <= 0)
        return pass_end(from);
    directions_[from].size = static_cast<gsize>(size);
    reader_.take(from, directions_[from].bytes.data(), directions_[from].size);
    write(from);
}

void Link::write(End from)
{
    GOutputStream *stream = g_io_stream_get_output_stream(G_IO_STREAM(connections_[other(from)].get()));
    const Direction &direction = directions_[from];
    g_output_stream_write_all_async(stream, direction.bytes.data(), direction.size, G_PRIORITY_DEFAULT, nullptr,
                                    finish_write, new Operation{shared_from_this(), from});
}

void Link::finish_write(GObject *stream, GAsyncResult *result, gpointer data)
{
    const std::unique_ptr<Operation> operation{static_cast<Operation *>(data)};
    const bool whole = g_output_stream_write_all_finish(G_OUTPUT_STREAM(stream), result, nullptr, nullptr);
    Loop::guard([&] { operation->link->on_written(operation->from, whole); });
}

void Link::on_written(End from, bool whole)
{
    if (whole)
        return read(from);
    // The receiver is gone. The sender notices it when it writes, and what it has sent the other way still passes.
    g_socket_shutdown(socket(from), true, false, nullptr);
    end(from);
}

void Link::pass_end(End from)
{
    const bool is_closed = g_socket_condition_check(socket(from), G_IO_HUP) != 0;
    const bool other_is_closed = g_socket_condition_check(socket(other(from)), G_IO_HUP) != 0;
    if (from == agent && is_closed && !other_is_closed)
        reader_.ended_by_agent();
    g_socket_shutdown(socket(other(from)), is_closed, true, nullptr);
    end(from);
}

void Link::end(End from)
{
    directions_[from].over = true;
    if (directions_[other(from)].over)
        on_end_();
}

} // namespace kv::ctl
