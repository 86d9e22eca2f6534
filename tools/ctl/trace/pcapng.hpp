// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "trace_records.hpp"

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <tuple>

namespace kv::ctl {

/// Writes a trace as a pcapng file, which Wireshark reads with the dissector korvane.lua. Each port is an interface of the file;
/// each parcel is a packet with its time, its direction, the head that the dissector expects, and the bytes of the parcel,
/// secrets included. A file is written while the trace grows, so that it is complete so far at any time.
class Pcapng {
public:
    /// "-" is stdout. A new file can be read by its owner only. Throws Failure if it cannot be written.
    explicit Pcapng(const std::string &path);

    void take(const rpc_port_trace_record_t &record, const char *payload);
    /// Completes the file. Throws Failure if it could not be written.
    void close();

private:
    using Port = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>; // process, number and link
    struct CloseFile {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    std::uint32_t interface_of(const rpc_port_trace_record_t &record);
    void write(const std::string &bytes);
    [[noreturn]] void fail() const;

    std::string path_;
    std::unique_ptr<std::FILE, CloseFile> file_;
    std::map<Port, std::uint32_t> interfaces_{};
};

} // namespace kv::ctl
