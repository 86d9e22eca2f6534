// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"
#include "testing/support/read_file.hpp"
#include "testing/support/temporary_directory.hpp"
#include "testing/support/wait.hpp"
#include <dlog.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <linux/seccomp.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

namespace kv::test {
namespace {

constexpr int debug = 3;
constexpr int info = 4;
constexpr int warning = 5;
constexpr int error = 6;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool has_address_sanitizer = true;
#elif defined(__has_feature)
constexpr bool has_address_sanitizer = __has_feature(address_sanitizer);
#else
constexpr bool has_address_sanitizer = false;
#endif

/// An environment with only this log setting.
Environment log_to(const std::optional<std::string> &setting)
{
    return {{"KORVANE_LOG", setting}, {"JOURNAL_STREAM", {}}, {"NO_COLOR", {}}, {"KORVANE_JOURNAL_SOCKET", {}}};
}

void print_one_of_each()
{
    dlog_print(debug, "TAG", "a debug line");
    dlog_print(info, "TAG", "an info line");
    dlog_print(warning, "TAG", "a warning line");
    dlog_print(error, "TAG", "an error line");
}

std::string letters_of(const std::vector<std::string> &lines)
{
    std::string letters;
    for (const std::string &line : lines) {
        const auto bracket = line.find("] ");
        letters += bracket == std::string::npos ? '?' : line.at(bracket + 2);
    }
    return letters;
}

std::string shown_with(const std::optional<std::string> &setting)
{
    return letters_of(in_child(log_to(setting), print_one_of_each).lines());
}

} // namespace

TEST(LogLevelTest, DefaultsToError)
{
    EXPECT_EQ(shown_with(std::nullopt), "E");
    EXPECT_EQ(shown_with(""), "E");
}

TEST(LogLevelTest, AcceptsNames)
{
    EXPECT_EQ(shown_with("off"), "");
    EXPECT_EQ(shown_with("error"), "E");
    EXPECT_EQ(shown_with("warning"), "WE");
    EXPECT_EQ(shown_with("info"), "IWE");
    EXPECT_EQ(shown_with("debug"), "DIWE");
}

TEST(LogLevelTest, AcceptsAPriority)
{
    EXPECT_EQ(shown_with("6"), "E");
    EXPECT_EQ(shown_with("4:stderr"), "IWE");
    EXPECT_EQ(shown_with("0"), "DIWE");
    EXPECT_EQ(shown_with("7"), "");
}

TEST(LogLevelTest, UsesTheDefaultWithAWarningIfInvalid)
{
    for (const char *bad :
         {"loud", "ERROR", "10", "-1", " error", "error:", "error:printer", "debug:file:", ":stderr"}) {
        const auto lines = in_child(log_to(bad), print_one_of_each).lines();
        EXPECT_EQ(letters_of(lines), "WE") << bad;
        ASSERT_FALSE(lines.empty()) << bad;
        EXPECT_NE(lines[0].find("KORVANE_LOG=\"" + std::string(bad) + "\""), std::string::npos) << lines[0];
    }
}

TEST(LogLevelTest, DoesNotFormatALineBelowIt)
{
    const ChildResult result = in_child(log_to("error"), [] {
        dlog_print(error, "TAG", "the environment is read now");
        const char *nowhere = reinterpret_cast<const char *>(std::uintptr_t{8});
        dlog_print(info, "TAG", "%s", nowhere);
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines().size(), 1U);
}

TEST(LogLevelTest, MakesNoSystemCallForALineBelowIt)
{
    if (has_address_sanitizer)
        GTEST_SKIP() << "the sanitizer makes system calls itself";
    const ChildResult result = in_child(log_to("error"), [] {
        dlog_print(info, "TAG", "the environment is read now");
        // From here on a system call other than read, write and exit kills the process, and stderr is closed.
        close(STDERR_FILENO);
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0)
            _exit(2);
        for (int i = 0; i < 1000; ++i)
            dlog_print(info, "TAG", "line %d", i);
        syscall(SYS_exit, 0);
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.writes.empty());
}

TEST(LogLineTest, HasTimeProcessPriorityAndTagInOneWrite)
{
    const ChildResult result =
        in_child(log_to({}), [] { dlog_print(error, "KORVANE-API", "korvane.cpp: %s(%d)\n", "f", 12); });
    ASSERT_EQ(result.writes.size(), 1U);
    std::string form = result.writes[0];
    std::replace_if(
        form.begin(), form.end(), [](char c) { return c >= '0' && c <= '9'; }, '9');
    const std::size_t pid = form.find('[') + 1;
    ASSERT_NE(pid, 0U) << form;
    form.replace(pid, form.find(']') - pid, "pid");
    EXPECT_EQ(form, "9999-99-99 99:99:99.999 [pid] E KORVANE-API: korvane.cpp: f(99)\n");
}

TEST(LogLineTest, EscapesControlCharacters)
{
    const ChildResult result = in_child(log_to({}), [] {
        dlog_print(error, "T\033AG", "%s", "a\033[2Jb\rc\nd\te\x7f|\xc2\x9b|\xff|\xc0\xaf|\xed\xa0\x80|\xe2\x82|");
    });
    ASSERT_EQ(result.lines().size(), 1U);
    EXPECT_NE(result.text().find(R"(T\x1bAG: a\x1b[2Jb\rc\nd\te\x7f|\xc2\x9b|\xff|\xc0\xaf|\xed\xa0\x80|\xe2\x82|)"),
              std::string::npos)
        << result.text();
}

TEST(LogLineTest, KeepsUtf8Text)
{
    const std::string text = "Gr\xc3\xbc\xc3\x9f"
                             "e \xe2\x82\xac \xf0\x9f\x8f\xa0";
    const ChildResult result = in_child(log_to({}), [&] { dlog_print(error, "TAG", "%s", text.c_str()); });
    EXPECT_NE(result.text().find("TAG: " + text + "\n"), std::string::npos) << result.text();
}

TEST(LogLineTest, IsOneWriteAtAnyLength)
{
    for (const std::size_t length : {900U, 1000U, 1010U, 1023U, 1024U, 1025U, 2048U, 100'000U}) {
        const std::string text(length, 'x');
        const ChildResult result = in_child(log_to({}), [&] { dlog_print(error, "TAG", "%s", text.c_str()); });
        ASSERT_EQ(result.writes.size(), 1U) << length;
        EXPECT_NE(result.writes[0].find("TAG: " + text + "\n"), std::string::npos) << length;
    }
}

TEST(LogLineTest, EndsWithAMarkIfCutWithoutMemory)
{
    if (has_address_sanitizer)
        GTEST_SKIP() << "the sanitizer needs memory that this test withholds";
    const std::string text(32 << 20, 'x');
    const ChildResult result = in_child(log_to({}), [&] {
        dlog_print(error, "TAG", "warm");
        const rlimit none{0, 0};
        setrlimit(RLIMIT_DATA, &none);
        dlog_print(error, "TAG", "%s", text.c_str());
    });
    EXPECT_EQ(result.status, 0);
    const auto lines = result.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[1].find("TAG: xxxxxxxx"), std::string::npos);
    EXPECT_NE(lines[1].find("[cut: out of memory]"), std::string::npos) << lines[1].substr(lines[1].size() - 40);
}

TEST(LogLineTest, PreservesErrno)
{
    const ChildResult result = in_child(log_to("debug:file:/nonexistent/log"), [] {
        const std::string format = "%m%s"; // not a literal, because the compiler warns about %m
        errno = ENOTTY;
        dlog_print(error, "TAG", format.c_str(), ".");
        EXPECT_EQ(errno, ENOTTY);
    });
    EXPECT_EQ(result.status, 0) << result.text();
    EXPECT_NE(result.text().find("TAG: Inappropriate ioctl for device"), std::string::npos) << result.text();
}

TEST(LogLineTest, CompletesInterruptedWrites)
{
    static std::atomic<int> *interruptions = nullptr;
    void *shared = mmap(nullptr, sizeof *interruptions, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    interruptions = new (shared) std::atomic<int>(0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string text(300'000, 'x'); // more than a pipe holds

    const pid_t child = fork();
    if (child == 0) {
        unsetenv("KORVANE_LOG");
        unsetenv("JOURNAL_STREAM");
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        struct sigaction action {};
        action.sa_handler = [](int) { interruptions->fetch_add(1); }; // without SA_RESTART
        sigaction(SIGALRM, &action, nullptr);
        const itimerval often{{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &often, nullptr);
        dlog_print(error, "TAG", "%s", text.c_str());
        _exit(0);
    }
    close(ends[1]);
    EXPECT_TRUE(wait_until([] { return interruptions->load() > 20; }));
    std::string got;
    char part[4096];
    for (ssize_t size; (size = read(ends[0], part, sizeof part)) > 0;)
        got.append(part, static_cast<std::size_t>(size));
    int status = -1;
    waitpid(child, &status, 0);
    close(ends[0]);
    munmap(shared, sizeof *interruptions);
    EXPECT_EQ(status, 0);
    EXPECT_NE(got.find("TAG: " + text + "\n"), std::string::npos);
}

TEST(LogLineTest, StaysWholeAmongManyThreads)
{
    constexpr int threads = 8;
    constexpr int each = 200;
    const ChildResult result = in_child(log_to({}), [] {
        std::vector<std::thread> writers;
        for (int t = 0; t < threads; ++t) {
            writers.emplace_back([t] {
                for (int i = 0; i < each; ++i)
                    dlog_print(error, "TAG", "%d %d %s end", t, i, std::string(1500, 'x').c_str());
            });
        }
        for (std::thread &writer : writers)
            writer.join();
    });
    EXPECT_EQ(result.writes.size(), static_cast<std::size_t>(threads * each));
    for (const std::string &write : result.writes) {
        ASSERT_EQ(write.substr(write.size() - 5), " end\n");
        ASSERT_EQ(std::count(write.begin(), write.end(), '\n'), 1);
    }
}

// Colour

namespace {

/// One error line as a terminal receives it.
std::string on_a_terminal(const Environment &environment)
{
    const int outer = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(outer);
    unlockpt(outer);
    const int inner = open(ptsname(outer), O_RDWR | O_NOCTTY);
    termios raw{};
    tcgetattr(inner, &raw);
    cfmakeraw(&raw);
    tcsetattr(inner, TCSANOW, &raw);
    in_child(environment, [&] {
        dup2(inner, STDERR_FILENO);
        dlog_print(error, "TAG", "text");
    });
    char text[512];
    const ssize_t size = read(outer, text, sizeof text);
    close(inner);
    close(outer);
    return {text, size > 0 ? static_cast<std::size_t>(size) : 0U};
}

} // namespace

TEST(LogColourTest, IsUsedOnlyOnTerminalsThatAllowIt)
{
    Environment environment = log_to({});
    environment["TERM"] = "xterm";
    EXPECT_NE(on_a_terminal(environment).find("\033[31mE TAG: text\033[0m\n"), std::string::npos);

    environment["NO_COLOR"] = "1";
    EXPECT_EQ(on_a_terminal(environment).find('\033'), std::string::npos);
    environment["NO_COLOR"] = "";
    EXPECT_NE(on_a_terminal(environment).find('\033'), std::string::npos);

    environment["TERM"] = "dumb";
    EXPECT_EQ(on_a_terminal(environment).find('\033'), std::string::npos);

    environment["TERM"] = "xterm";
    EXPECT_EQ(in_child(environment, print_one_of_each).text().find('\033'), std::string::npos);
}

// Files

TEST(LogFileTest, IsAppendedToAndPrivate)
{
    const TemporaryDirectory directory;
    const std::string path = directory / "log";
    umask(0022);
    for (int run = 0; run < 2; ++run)
        EXPECT_TRUE(in_child(log_to("info:file:" + path), print_one_of_each).writes.empty());
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    const std::string text = read_file(path);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 6);
}

TEST(LogFileTest, IsNotOpenedThroughASymbolicLink)
{
    const TemporaryDirectory directory;
    const std::string link = directory / "link";
    ASSERT_EQ(symlink((directory / "target").c_str(), link.c_str()), 0);
    const auto lines = in_child(log_to("warning:file:" + link), print_one_of_each).lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(contains(lines[0], "cannot open the log " + link + ": it is a symbolic link")) << lines[0];
    EXPECT_EQ(letters_of(lines), "WWE");
    EXPECT_NE(access((directory / "target").c_str(), F_OK), 0);
}

/// Loads the platform library again, with this trace.
ChildResult start_with_trace(const std::string &path)
{
    Environment environment = log_to("error:stderr");
    environment["KORVANE_TRACE"] = path;
    return in_child(environment, [] { execl("/proc/self/exe", "self", "--gtest_filter=none", nullptr); });
}

TEST(TraceFileTest, IsPrivate)
{
    const TemporaryDirectory directory;
    umask(0022);
    EXPECT_EQ(start_with_trace(directory / "trace").text(), "");
    struct stat status {};
    ASSERT_EQ(stat((directory / "trace").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(TraceFileTest, IsNotOpenedThroughASymbolicLink)
{
    const TemporaryDirectory directory;
    ASSERT_EQ(symlink((directory / "target").c_str(), (directory / "link").c_str()), 0);
    const ChildResult result = start_with_trace(directory / "link");
    EXPECT_TRUE(contains(result.text(), "/link: it is a symbolic link")) << result.text();
    EXPECT_NE(access((directory / "target").c_str(), F_OK), 0);
}

TEST(LogFileTest, FallsBackToStderrIfItCannotBeOpened)
{
    const auto lines = in_child(log_to("warning:file:/nonexistent/log"), print_one_of_each).lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_NE(lines[0].find("cannot open the log /nonexistent/log: No such file or directory"), std::string::npos);
    EXPECT_EQ(letters_of(lines), "WWE");
}

TEST(LogFileTest, FallsBackToStderrWithOneWarningOnAFullDisk)
{
    const auto lines = in_child(log_to("info:file:/dev/full"), print_one_of_each).lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_NE(lines[0].find("cannot write to the log /dev/full: No space left on device"), std::string::npos);
    EXPECT_EQ(letters_of(lines), "WIWE");
}

} // namespace kv::test
