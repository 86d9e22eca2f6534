// SPDX-License-Identifier: Apache-2.0
#include "traffic.hpp"

#include <glib.h>

namespace kv::ctl {

namespace {

constexpr int max_warnings = 10; // a peer could otherwise fill the terminal

} // namespace

std::size_t Traffic::add(Json entry)
{
    if (stopped_)
        return none;
    entry["time_us"] = g_get_real_time();
    entries_.push_back(std::move(entry));
    return entries_.size() - 1;
}

void Traffic::add_answer(std::size_t call, Json answer)
{
    if (call != none)
        entries_[call]["answer"] = std::move(answer);
}

std::shared_ptr<Connection> Traffic::connection(const std::string &token)
{
    std::erase_if(connections_, [](const auto &known) { return known.second.expired(); });
    std::weak_ptr<Connection> &known = connections_[token];
    std::shared_ptr<Connection> connection = known.lock();
    if (!connection)
        known = connection = std::make_shared<Connection>();
    return connection;
}

void Traffic::warn(const std::string &problem)
{
    if (++problems_ <= max_warnings)
        on_warning_(problem + (problems_ == max_warnings ? "; further problems are only counted" : ""));
}

} // namespace kv::ctl
