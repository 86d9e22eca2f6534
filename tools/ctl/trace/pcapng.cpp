// SPDX-License-Identifier: Apache-2.0
// A pcapng file is a sequence of blocks: the type, the length of the block, its content, options, and the length again. All
// numbers are little-endian here. The parcels are packets of the link type for exported protocol data units, which begin with
// tags: the name of the dissector is one of them, so the file does not depend on settings of Wireshark.
#include "pcapng.hpp"

#include "tools/ctl/output/failure.hpp"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr std::uint32_t section_block = 0x0a0d0d0a;
constexpr std::uint32_t interface_block = 1;
constexpr std::uint32_t packet_block = 6;
constexpr std::uint32_t byte_order = 0x1a2b3c4d;
constexpr std::uint16_t exported_pdu_link = 252;

/// Wireshark refuses a file with a longer packet. Of a longer one the beginning is written, and its length.
constexpr std::size_t max_captured = 262'144;

// Options by the block that has them.
constexpr std::uint16_t section_application = 4;
constexpr std::uint16_t interface_name = 2;
constexpr std::uint16_t interface_resolution = 9;
constexpr std::uint16_t packet_flags = 2;
constexpr std::uint32_t inbound = 1;
constexpr std::uint32_t outbound = 2;

// Tags of an exported protocol data unit; their numbers are big-endian.
constexpr std::uint16_t dissector_name_tag = 12;
constexpr const char *dissector_name = "korvane";

/// Bytes in the order in which they are appended.
class Bytes {
public:
    template <class Number>
    Bytes &number(Number value)
    {
        for (std::size_t i = 0; i < sizeof value; ++i)
            bytes_ += static_cast<char>((static_cast<std::uint64_t>(value) >> (8 * i)) & 0xff);
        return *this;
    }
    Bytes &big_endian(std::uint16_t value)
    {
        bytes_ += static_cast<char>(value >> 8);
        bytes_ += static_cast<char>(value & 0xff);
        return *this;
    }
    /// Fills up to a multiple of four bytes.
    Bytes &padded(const std::string &more)
    {
        bytes_ += more;
        bytes_.resize((bytes_.size() + 3) / 4 * 4);
        return *this;
    }
    Bytes &option(std::uint16_t code, const std::string &value)
    {
        return number(code).number(static_cast<std::uint16_t>(value.size())).padded(value);
    }
    Bytes &end_of_options() { return number(std::uint32_t{0}); }
    const std::string &text() const { return bytes_; }

private:
    std::string bytes_{};
};

std::string block(std::uint32_t type, const Bytes &content)
{
    const auto length = static_cast<std::uint32_t>(content.text().size() + 12);
    return Bytes{}.number(type).number(length).padded(content.text()).number(length).text();
}

std::string section()
{
    Bytes content;
    content.number(byte_order).number(std::uint16_t{1}).number(std::uint16_t{0}).number(std::int64_t{-1});
    content.option(section_application, "korvanectl").end_of_options();
    return block(section_block, content);
}

std::string interface_of_port(const rpc_port_trace_record_t &record)
{
    const std::string name =
        std::string{is_main_link(record) ? "main" : "callback"} + " link " + std::to_string(record.port) + " of " +
        (is_recorded_by_caller(record) ? "application " : "agent ") + std::to_string(record.process);
    Bytes content;
    content.number(exported_pdu_link).number(std::uint16_t{0}).number(std::uint32_t{0});
    content.option(interface_name, name).option(interface_resolution, {6}).end_of_options(); // microseconds
    return block(interface_block, content);
}

/// The tags, and the head that korvane.lua expects before a parcel.
std::string head_of(const rpc_port_trace_record_t &record)
{
    Bytes head;
    head.big_endian(dissector_name_tag).big_endian(static_cast<std::uint16_t>(std::strlen(dissector_name) + 1));
    head.padded(std::string{dissector_name} + '\0').number(std::uint32_t{0}); // the last tag
    head.number(std::uint8_t{!is_main_link(record)}).number(std::uint8_t{!is_from_caller(record)});
    head.number(std::uint8_t{!is_recorded_by_caller(record)}).number(std::uint8_t{0});
    head.number(record.process).number(record.port);
    return head.text();
}

std::string packet(std::uint32_t interface, const rpc_port_trace_record_t &record, const char *payload)
{
    const std::string data = head_of(record) + std::string{payload, record.size};
    const auto time = static_cast<std::uint64_t>(record.time_us);
    const std::string captured = data.substr(0, max_captured);
    Bytes content;
    content.number(interface).number(static_cast<std::uint32_t>(time >> 32)).number(static_cast<std::uint32_t>(time));
    content.number(static_cast<std::uint32_t>(captured.size())).number(static_cast<std::uint32_t>(data.size()));
    content.padded(captured);
    content.option(packet_flags, Bytes{}.number(record.sent == 1 ? outbound : inbound).text()).end_of_options();
    return block(packet_block, content);
}

std::FILE *opened(const std::string &path)
{
    const int file = path == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                                 : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    return file < 0 ? nullptr : fdopen(file, "wb");
}

} // namespace

Pcapng::Pcapng(const std::string &path) : path_(path), file_(opened(path))
{
    if (!file_)
        fail();
    write(section());
}

void Pcapng::take(const rpc_port_trace_record_t &record, const char *payload)
{
    const std::uint32_t interface = interface_of(record);
    write(packet(interface, record, payload));
}

std::uint32_t Pcapng::interface_of(const rpc_port_trace_record_t &record)
{
    const auto [found, is_new] = interfaces_.try_emplace({record.process, record.port, record.link},
                                                         static_cast<std::uint32_t>(interfaces_.size()));
    if (is_new)
        write(interface_of_port(record));
    return found->second;
}

void Pcapng::write(const std::string &bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size() || std::fflush(file_.get()) != 0)
        fail();
}

void Pcapng::close()
{
    if (std::fclose(file_.release()) != 0)
        fail();
}

void Pcapng::fail() const
{
    throw Failure{failed, "cannot write " + path_ + ": " + std::strerror(errno)};
}

} // namespace kv::ctl
