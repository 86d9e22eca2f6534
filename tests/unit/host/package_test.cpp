// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"
#include "testing/support/read_file.hpp"
#include "testing/support/temporary_directory.hpp"
#include <package_info.h>
#include <package_info_write.h>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace kv::test {
namespace {

constexpr int not_installed = -18153359;
constexpr uid_t nobody = 65534;

/// The version, or the failure as a number.
std::string version_of(const char *package)
{
    package_info_h info = nullptr;
    if (const int code = package_info_create(package, &info); code != 0) {
        EXPECT_EQ(info, nullptr);
        return std::to_string(code);
    }
    char *version = nullptr;
    EXPECT_EQ(package_info_get_version(info, &version), 0);
    const std::string text = version ? version : "NULL";
    free(version);
    EXPECT_EQ(package_info_destroy(info), 0);
    return text;
}

class PackageTest : public testing::Test {
protected:
    void SetUp() override
    {
        setenv("KORVANE_LOG", "error:stderr", 1);
        setenv("KORVANE_PACKAGE_DIR", directory.path().c_str(), 1);
    }
    void TearDown() override { unsetenv("KORVANE_PACKAGE_DIR"); }

    void write_entry(const std::string &package, const std::string &text) const
    {
        std::ofstream(directory / (package + ".package"), std::ios::binary) << text;
    }

    /// The log of a lookup, made in a child process.
    ChildResult ask(const char *package, const std::string &expected) const
    {
        const ChildResult result = in_child({}, [&] {
            const std::string version = version_of(package);
            if (version != expected)
                fprintf(stderr, "got %s\n", version.c_str());
        });
        EXPECT_EQ(result.status, 0);
        return result;
    }

    TemporaryDirectory directory;
};

} // namespace

TEST_F(PackageTest, ReadsTheVersionOfAnEntry)
{
    write_entry("org.example.agent", "# a comment\n[Package]\nVersion=2.3.1\nExecutable=/usr/bin/true\n[Other]\na=b\n");
    EXPECT_EQ(version_of("org.example.agent"), "2.3.1");
}

TEST_F(PackageTest, ReportsAMissingEntryAsNotInstalled)
{
    EXPECT_EQ(version_of("org.example.agent"), std::to_string(not_installed));
    EXPECT_TRUE(ask("org.example.agent", std::to_string(not_installed)).writes.empty());
    setenv("KORVANE_PACKAGE_DIR", "/nonexistent/packages", 1);
    EXPECT_EQ(version_of("org.example.agent"), std::to_string(not_installed));
    write_entry("file", "");
    setenv("KORVANE_PACKAGE_DIR", (directory / "file.package").c_str(), 1);
    EXPECT_EQ(version_of("org.example.agent"), std::to_string(not_installed));
}

TEST_F(PackageTest, LogsFileAndReasonOfAMalformedEntry)
{
    struct {
        const char *text;
        const char *reason;
    } const cases[] = {
        {"", "group"},
        {"no key file\n", "not a key-value pair"},
        {"Version=1.0\n", "group"},
        {"[Package]\nExecutable=/bin/true\n", "Version"},
        {"[Package]\nVersion=\n", "Version is empty"},
        {"[Package]\nVersion=\xff\xfe\n", "UTF-8"},
    };
    for (const auto &[text, reason] : cases) {
        write_entry("agent", text);
        const ChildResult result = ask("agent", std::to_string(-EBADMSG));
        ASSERT_EQ(result.lines().size(), 1U) << text << result.text();
        EXPECT_NE(result.text().find(directory / "agent.package"), std::string::npos) << result.text();
        EXPECT_NE(result.text().find(reason), std::string::npos) << result.text();
    }
}

TEST_F(PackageTest, RefusesAnEntryThatIsNotARegularFile)
{
    mkdir((directory / "folder.package").c_str(), 0755);
    mkfifo((directory / "pipe.package").c_str(), 0644);
    EXPECT_NE(ask("folder", std::to_string(-EISDIR)).text().find("folder.package: Is a directory"), std::string::npos);
    EXPECT_NE(ask("pipe", std::to_string(-EINVAL)).text().find("cannot read package entry"), std::string::npos);
}

TEST_F(PackageTest, RefusesAHugeEntry)
{
    write_entry("agent", "[Package]\nVersion=1.0\n#" + std::string(70'000, 'x') + "\n");
    EXPECT_NE(ask("agent", std::to_string(-EFBIG)).text().find("File too large"), std::string::npos);
}

TEST_F(PackageTest, ReportsAnUnreadableEntry)
{
    write_entry("agent", "[Package]\nVersion=1.0\n");
    chmod((directory / "agent.package").c_str(), 0);
    chmod(directory.path().c_str(), 0755);
    const ChildResult result = in_child({}, [] {
        if (geteuid() == 0 && setuid(nobody) != 0)
            _exit(3);
        if (version_of("agent") != std::to_string(-EACCES))
            _exit(4);
    });
    EXPECT_EQ(result.status, 0);
    ASSERT_EQ(result.lines().size(), 1U);
    EXPECT_NE(result.text().find("agent.package: Permission denied"), std::string::npos);
}

TEST_F(PackageTest, RefusesNamesThatLeaveTheDirectory)
{
    const std::string max_name(128, 'a');
    write_entry(max_name, "[Package]\nVersion=1.0\n");
    EXPECT_EQ(version_of(max_name.c_str()), "1.0");
    write_entry("A-b_c.d+9", "[Package]\nVersion=1.0\n");
    EXPECT_EQ(version_of("A-b_c.d+9"), "1.0");

    const std::string invalid = std::to_string(-EINVAL);
    for (const std::string &bad :
         {std::string(), std::string("."), std::string(".."), std::string(".hidden"), std::string("../etc/agent"),
          std::string("a/b"), std::string("a b"), std::string("a\nb"), std::string("\xc3\xbc"), max_name + "a"}) {
        EXPECT_EQ(version_of(bad.c_str()), invalid) << bad;
        EXPECT_EQ(package_info_install(bad.c_str(), "1.0", nullptr, nullptr, nullptr), -EINVAL) << bad;
        EXPECT_EQ(package_info_uninstall(bad.c_str()), -EINVAL) << bad;
    }
    EXPECT_EQ(version_of(nullptr), invalid);
}

TEST_F(PackageTest, RefusesNull)
{
    package_info_h info = nullptr;
    char *version = nullptr;
    EXPECT_EQ(package_info_destroy(nullptr), 0);
    EXPECT_LT(package_info_create("agent", nullptr), 0);
    EXPECT_LT(package_info_get_version(nullptr, &version), 0);
    write_entry("agent", "[Package]\nVersion=1.0\n");
    ASSERT_EQ(package_info_create("agent", &info), 0);
    EXPECT_LT(package_info_get_version(info, nullptr), 0);
    package_info_destroy(info);
}

TEST_F(PackageTest, InstallsReplacesAndRemovesAnEntry)
{
    setenv("KORVANE_PACKAGE_DIR", (directory / "made/when/missing").c_str(), 1);
    ASSERT_EQ(package_info_install("agent", "1.0", "/usr/bin/agent", "--quiet 'a b'", "home"), 0);
    EXPECT_EQ(read_file(directory / "made/when/missing/agent.package"),
              "[Package]\nVersion=1.0\nExecutable=/usr/bin/agent\nArguments=--quiet 'a b'\nGroup=home\n");
    EXPECT_EQ(version_of("agent"), "1.0");
    ASSERT_EQ(package_info_install("agent", "2.3.1", nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(read_file(directory / "made/when/missing/agent.package"), "[Package]\nVersion=2.3.1\n");
    EXPECT_EQ(package_info_uninstall("agent"), 0);
    EXPECT_EQ(version_of("agent"), std::to_string(not_installed));
    EXPECT_EQ(package_info_uninstall("agent"), 0);
    EXPECT_TRUE(std::filesystem::is_empty(directory / "made/when/missing"));
}

TEST_F(PackageTest, WritesOnlyAnEntryThatChanges)
{
    const std::string path = directory / "agent.package";
    const auto file_number = [&] {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status.st_ino;
    };
    ASSERT_EQ(package_info_install("agent", "1.0", "/usr/bin/agent", nullptr, nullptr), 0);
    const ino_t first = file_number();
    ASSERT_EQ(package_info_install("agent", "1.0", "/usr/bin/agent", nullptr, nullptr), 0);
    EXPECT_EQ(file_number(), first);
    ASSERT_EQ(package_info_install("agent", "1.1", "/usr/bin/agent", nullptr, nullptr), 0);
    const ino_t second = file_number();
    EXPECT_NE(second, first);
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    ASSERT_EQ(package_info_install("agent", "1.1", "/usr/bin/agent", nullptr, nullptr), 0);
    EXPECT_NE(file_number(), second) << "other users cannot read it";
}

TEST_F(PackageTest, ReplacesAFifoWithoutWaitingForItsWriter)
{
    const std::string path = directory / "agent.package";
    ASSERT_EQ(mkfifo(path.c_str(), 0644), 0);
    ASSERT_EQ(package_info_install("agent", "1.0", nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(version_of("agent"), "1.0");
}

TEST_F(PackageTest, KeepsSpecialCharactersInValues)
{
    const std::string version = " 1.0\n[Other]\\ \t;x";
    ASSERT_EQ(package_info_install("agent", version.c_str(), nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(version_of("agent"), version);
}

TEST_F(PackageTest, RefusesToInstallInvalidValues)
{
    EXPECT_EQ(package_info_install("agent", nullptr, nullptr, nullptr, nullptr), -EINVAL);
    EXPECT_EQ(package_info_install("agent", "", nullptr, nullptr, nullptr), -EINVAL);
    EXPECT_EQ(package_info_install("agent", "\xff", nullptr, nullptr, nullptr), -EINVAL);
    EXPECT_EQ(package_info_install("agent", "1.0", "bin/agent", nullptr, nullptr), -EINVAL);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(PackageTest, KeepsTheOldEntryIfTheNewOneCannotBeWritten)
{
    ASSERT_EQ(package_info_install("agent", "1.0", nullptr, nullptr, nullptr), 0);
    const ChildResult result = in_child({}, [] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_FSIZE, &none);
        EXPECT_EQ(package_info_install("agent", "2.0", nullptr, nullptr, nullptr), -EFBIG);
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.text().find("agent.package: File too large"), std::string::npos);
    EXPECT_EQ(version_of("agent"), "1.0");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1)
        << "a temporary file remains";
}

TEST_F(PackageTest, ReplacesAnEntryAtomically)
{
    ASSERT_EQ(package_info_install("agent", "1.0", nullptr, nullptr, nullptr), 0);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 50; ++i)
            package_info_install("agent", i % 2 ? "1.0" : "2.0", "/usr/bin/agent", nullptr, nullptr);
        done = true;
    });
    while (!done) {
        const std::string version = version_of("agent");
        EXPECT_TRUE(version == "1.0" || version == "2.0") << version;
    }
    writer.join();
}

TEST_F(PackageTest, UsesTheUsersDataDirectory)
{
    chmod(directory.path().c_str(), 0777);
    const auto as_user = [&](const Environment &environment, const std::string &expected) {
        const ChildResult result = in_child(environment, [&] {
            if (geteuid() == 0 && setuid(nobody) != 0)
                _exit(3);
            EXPECT_EQ(package_info_install("agent", "1.0", nullptr, nullptr, nullptr), 0);
            EXPECT_EQ(version_of("agent"), "1.0");
        });
        EXPECT_EQ(result.status, 0) << result.text();
        EXPECT_TRUE(std::filesystem::exists(expected)) << expected;
    };
    as_user({{"KORVANE_PACKAGE_DIR", {}}, {"XDG_DATA_HOME", directory / "data"}},
            directory / "data/korvane/packages/agent.package");
    as_user({{"KORVANE_PACKAGE_DIR", ""}, {"XDG_DATA_HOME", {}}, {"HOME", directory / "home"}},
            directory / "home/.local/share/korvane/packages/agent.package");
    as_user({{"KORVANE_PACKAGE_DIR", {}}, {"XDG_DATA_HOME", "relative"}, {"HOME", directory / "other"}},
            directory / "other/.local/share/korvane/packages/agent.package");
}

} // namespace kv::test
