// SPDX-License-Identifier: Apache-2.0
#include <korvane.hpp>

#include <gtest/gtest.h>

namespace {

korvane::Result<int> failure(int code)
{
    return korvane::Result<void>{code, "korvane_start"};
}

TEST(CppResult, HoldsTheValueOfASuccess)
{
    korvane::Result<std::string> result{"lamp", "korvane_get_device_id"};
    ASSERT_TRUE(result);
    EXPECT_EQ(result.value(), "lamp");
    EXPECT_EQ(*result, "lamp");
    EXPECT_EQ(result->size(), 4U);
    EXPECT_EQ(result.value_or("none"), "lamp");
    EXPECT_EQ(result.code(), 0);
    EXPECT_FALSE(result.error());
    EXPECT_STREQ(result.name(), "NONE");
}

TEST(CppResult, HoldsTheCodeOfAFailure)
{
    const auto result = failure(KORVANE_ERROR_IO_ERROR);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.value_or(7), 7);
    EXPECT_EQ(result.code(), -5);
    EXPECT_EQ(result.error(), korvane::Errc::io_error);
    EXPECT_EQ(result.error(), std::errc::io_error);
    EXPECT_EQ(result.error().category(), korvane::error_category());
    EXPECT_STREQ(result.name(), "IO_ERROR");
    EXPECT_EQ(result.function(), "korvane_start");
}

TEST(CppResult, ThrowsTheFailureWhenTheValueIsAskedFor)
{
    try {
        (void)failure(KORVANE_ERROR_AGENT_VERSION_LOWER).value();
        FAIL() << "nothing was thrown";
    } catch (const korvane::Error &error) {
        EXPECT_EQ(error.result(), -1073741827);
        EXPECT_EQ(error.code(), korvane::Errc::agent_version_lower);
        EXPECT_EQ(error.function(), "korvane_start");
        EXPECT_STREQ(error.what(), "korvane_start: AGENT_VERSION_LOWER: the installed agent is too old for the "
                                   "function, or its version cannot be read");
    }
}

TEST(CppResult, NamesEveryCode)
{
    const std::pair<int, const char *> names[] = {
        {0, "NONE"},
        {-22, "INVALID_PARAMETER"},
        {-12, "OUT_OF_MEMORY"},
        {-13, "PERMISSION_DENIED"},
        {-5, "IO_ERROR"},
        {-61, "NO_DATA"},
        {-1073741822, "NOT_SUPPORTED"},
        {-1073741825, "OPERATION_FAILED"},
        {-1073741826, "SERVICE_UNAVAILABLE"},
        {-1073741827, "AGENT_VERSION_LOWER"},
        {17, "unknown code"},
    };
    for (const auto &[code, name] : names) {
        EXPECT_STREQ(korvane::code_name(code), name);
        EXPECT_EQ(korvane::error_category().message(code).rfind(name, 0), 0U);
    }
}

TEST(CppResult, NamesTheFunctionOfAFailedCall)
{
    // At compile time: every event passes the name on.
    static_assert(korvane::detail::name<korvane_set_status_changed_cb> == "korvane_set_status_changed_cb");
    korvane::Device closed;
    EXPECT_EQ(closed.set_nick_name(0, "lamp").function(), "korvane_set_nick_name");
    EXPECT_EQ(closed.get_thing_status().function(), "korvane_get_thing_status");
    EXPECT_EQ(closed.on_scan_ap([](int) {}).function(), "korvane_set_scan_ap_cb");
}

} // namespace
