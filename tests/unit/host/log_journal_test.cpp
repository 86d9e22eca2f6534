// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"
#include "testing/support/temporary_directory.hpp"
#include <dlog.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace kv::test {
namespace {

constexpr int info = 4;
constexpr int error = 6;

/// The receiving end of the journal's protocol.
class Journal {
public:
    explicit Journal(const std::string &path)
    {
        unlink(path.c_str());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, path.c_str());
        if (bind(socket_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
            throw std::runtime_error("bind");
    }
    ~Journal() { close(socket_); }
    Journal(const Journal &) = delete;
    Journal &operator=(const Journal &) = delete;

    /// The fields of the next pending entry; empty if there is none.
    std::map<std::string, std::string> next()
    {
        std::string bytes(1 << 20, '\0');
        iovec part{bytes.data(), bytes.size()};
        alignas(cmsghdr) char control[256];
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t size = recvmsg(socket_, &message, MSG_DONTWAIT);
        is_file = false;
        if (size < 0)
            return {};
        bytes.resize(static_cast<std::size_t>(size));
        if (const cmsghdr *header = CMSG_FIRSTHDR(&message); header && header->cmsg_type == SCM_RIGHTS) {
            int file = -1;
            memcpy(&file, CMSG_DATA(header), sizeof file);
            is_file = true;
            seals = fcntl(file, F_GET_SEALS);
            struct stat status {};
            fstat(file, &status);
            bytes.resize(static_cast<std::size_t>(status.st_size));
            EXPECT_EQ(pread(file, bytes.data(), bytes.size(), 0), status.st_size);
            close(file);
        }
        return fields_of(bytes);
    }

    bool is_file = false;
    int seals = 0;

private:
    static std::map<std::string, std::string> fields_of(const std::string &bytes)
    {
        std::map<std::string, std::string> fields;
        std::size_t at = 0;
        while (at < bytes.size()) {
            const std::size_t line_end = bytes.find('\n', at);
            const std::size_t equals = bytes.find('=', at);
            if (equals < line_end) {
                fields[bytes.substr(at, equals - at)] = bytes.substr(equals + 1, line_end - equals - 1);
                at = line_end + 1;
                continue;
            }
            std::size_t length = 0;
            for (unsigned i = 0; i < 8; ++i)
                length |= std::size_t{static_cast<unsigned char>(bytes.at(line_end + 1 + i))} << (8 * i);
            fields[bytes.substr(at, line_end - at)] = bytes.substr(line_end + 9, length);
            EXPECT_EQ(bytes.at(line_end + 9 + length), '\n');
            at = line_end + 9 + length + 1;
        }
        return fields;
    }

    int socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

class LogJournalTest : public testing::Test {
protected:
    Environment environment(const std::optional<std::string> &setting = "info:journal") const
    {
        return {{"KORVANE_LOG", setting}, {"KORVANE_JOURNAL_SOCKET", path}, {"JOURNAL_STREAM", {}}};
    }

    TemporaryDirectory directory;
    std::string path = directory / "journal";
};

} // namespace

TEST_F(LogJournalTest, ReceivesPriorityProgramTagAndMessage)
{
    Journal journal(path);
    const ChildResult result = in_child(environment(), [] {
        dlog_print(error, "KORVANE-API", "first\n");
        dlog_print(info, "RPC_PORT_PROXY", "second");
    });
    EXPECT_TRUE(result.writes.empty()) << result.text();
    auto entry = journal.next();
    EXPECT_EQ(entry["PRIORITY"], "3");
    EXPECT_EQ(entry["SYSLOG_IDENTIFIER"], program_invocation_short_name);
    EXPECT_EQ(entry["KORVANE_TAG"], "KORVANE-API");
    EXPECT_EQ(entry["MESSAGE"], "first");
    entry = journal.next();
    EXPECT_EQ(entry["PRIORITY"], "6");
    EXPECT_EQ(entry["MESSAGE"], "second");
    EXPECT_TRUE(journal.next().empty());
}

TEST_F(LogJournalTest, ReceivesSeveralLinesAsOneMessage)
{
    Journal journal(path);
    in_child(environment(), [] { dlog_print(error, "TAG", "one\nPRIORITY=0\nthree"); });
    const auto entry = journal.next();
    EXPECT_EQ(entry.at("MESSAGE"), "one\nPRIORITY=0\nthree");
    EXPECT_EQ(entry.at("PRIORITY"), "3");
}

TEST_F(LogJournalTest, ReceivesALargeMessageAsASealedFile)
{
    Journal journal(path);
    const std::string text(900'000, 'x');
    const ChildResult result = in_child(environment(), [&] { dlog_print(error, "TAG", "%s", text.c_str()); });
    EXPECT_TRUE(result.writes.empty()) << result.text().substr(0, 200);
    EXPECT_EQ(journal.next()["MESSAGE"], text);
    EXPECT_TRUE(journal.is_file);
    EXPECT_EQ(journal.seals, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
}

TEST_F(LogJournalTest, FallsBackToStderrWithOneWarning)
{
    const auto lines = in_child(environment(), [] {
                           dlog_print(error, "TAG", "one");
                           dlog_print(error, "TAG", "two");
                       }).lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_NE(lines[0].find("cannot write to the log " + path + ": No such file or directory"), std::string::npos);
    EXPECT_NE(lines[1].find("TAG: one"), std::string::npos);
    EXPECT_NE(lines[2].find("TAG: two"), std::string::npos);
}

TEST_F(LogJournalTest, WorksAgainAfterARestart)
{
    const ChildResult result = in_child(environment(), [&] {
        { // ends after one line
            Journal first(path);
            dlog_print(error, "TAG", "one");
            EXPECT_EQ(first.next()["MESSAGE"], "one");
        }
        Journal second(path);
        dlog_print(error, "TAG", "two");
        EXPECT_EQ(second.next()["MESSAGE"], "two");
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.writes.empty()) << result.text();
}

TEST_F(LogJournalTest, IsTheDefaultIfStderrIsTheJournal)
{
    Journal journal(path);
    const ChildResult result = in_child(environment({}), [] {
        struct stat status {};
        fstat(STDERR_FILENO, &status);
        setenv("JOURNAL_STREAM", (std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino)).c_str(), 1);
        dlog_print(error, "TAG", "to the journal");
    });
    EXPECT_TRUE(result.writes.empty()) << result.text();
    EXPECT_EQ(journal.next()["MESSAGE"], "to the journal");
}

TEST_F(LogJournalTest, IsNotTheDefaultIfStderrIsRedirected)
{
    Journal journal(path);
    Environment redirected = environment({});
    redirected["JOURNAL_STREAM"] = "1:2";
    const ChildResult result = in_child(redirected, [] { dlog_print(error, "TAG", "to stderr"); });
    EXPECT_EQ(result.lines().size(), 1U);
    EXPECT_TRUE(journal.next().empty());
}

} // namespace kv::test
