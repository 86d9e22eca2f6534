// SPDX-License-Identifier: Apache-2.0
#include <app_event_publish.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace kv::test {
namespace {

class BundleTest : public testing::Test {
protected:
    ~BundleTest() override { bundle_free(data); }

    bundle *data = bundle_create();
};

} // namespace

TEST_F(BundleTest, ReturnsAddedValues)
{
    const char *const names[] = {"one", "", "three"};
    const unsigned char bytes[] = {0, 1, 255};
    ASSERT_EQ(bundle_add_str(data, "text", "value"), 0);
    ASSERT_EQ(bundle_add_str_array(data, "texts", names, 3), 0);
    ASSERT_EQ(bundle_add_byte(data, "bytes", bytes, sizeof bytes), 0);

    char *text = nullptr;
    EXPECT_EQ(bundle_get_str(data, "text", &text), 0);
    EXPECT_STREQ(text, "value");
    int length = -1;
    const char **texts = bundle_get_str_array(data, "texts", &length);
    ASSERT_EQ(length, 3);
    EXPECT_STREQ(texts[0], "one");
    EXPECT_STREQ(texts[1], "");
    EXPECT_STREQ(texts[2], "three");
    EXPECT_EQ(texts[3], nullptr);
    void *got = nullptr;
    size_t size = 0;
    EXPECT_EQ(bundle_get_byte(data, "bytes", &got, &size), 0);
    ASSERT_EQ(size, sizeof bytes);
    EXPECT_EQ(memcmp(got, bytes, size), 0);
}

TEST_F(BundleTest, DistinguishesEmptyFromMissingValues)
{
    ASSERT_EQ(bundle_add_str_array(data, "texts", nullptr, 0), 0);
    ASSERT_EQ(bundle_add_byte(data, "bytes", nullptr, 0), 0);
    int length = -1;
    EXPECT_NE(bundle_get_str_array(data, "texts", &length), nullptr);
    EXPECT_EQ(length, 0);
    void *bytes = nullptr;
    size_t size = 1;
    EXPECT_EQ(bundle_get_byte(data, "bytes", &bytes, &size), 0);
    EXPECT_NE(bytes, nullptr);
    EXPECT_EQ(size, 0U);
}

TEST_F(BundleTest, LeavesOutArgumentsUnchangedOnFailure)
{
    ASSERT_EQ(bundle_add_str(data, "text", "value"), 0);
    char untouched[] = "untouched";
    char *text = untouched;
    int length = 7;
    void *bytes = untouched;
    size_t size = 7;
    EXPECT_EQ(bundle_get_str(data, "missing", &text), -ENOENT);
    EXPECT_EQ(bundle_get_str_array(data, "text", &length), nullptr);
    EXPECT_EQ(bundle_get_byte(data, "text", &bytes, &size), -EINVAL);
    EXPECT_EQ(text, untouched);
    EXPECT_EQ(length, 7);
    EXPECT_EQ(bytes, untouched);
    EXPECT_EQ(size, 7U);
}

TEST_F(BundleTest, RefusesASecondValueOfAKey)
{
    const char *const names[] = {"one"};
    ASSERT_EQ(bundle_add_str(data, "key", "value"), 0);
    EXPECT_EQ(bundle_add_str(data, "key", "other"), -EEXIST);
    EXPECT_EQ(bundle_add_str_array(data, "key", names, 1), -EEXIST);
    EXPECT_EQ(bundle_add_byte(data, "key", "x", 1), -EEXIST);
    char *text = nullptr;
    EXPECT_EQ(bundle_get_str(data, "key", &text), 0);
    EXPECT_STREQ(text, "value");
}

TEST_F(BundleTest, RefusesTextThatIsNotUtf8)
{
    const char *const bad[] = {"one", "\xff"};
    const char *const null[] = {nullptr};
    EXPECT_EQ(bundle_add_str(data, "\xff", "value"), -EINVAL);
    EXPECT_EQ(bundle_add_str(data, "key", "\xff"), -EINVAL);
    EXPECT_EQ(bundle_add_str(data, "key", nullptr), -EINVAL);
    EXPECT_EQ(bundle_add_str(data, nullptr, "value"), -EINVAL);
    EXPECT_EQ(bundle_add_str(nullptr, "key", "value"), -EINVAL);
    EXPECT_EQ(bundle_add_str_array(data, "key", bad, 2), -EINVAL);
    EXPECT_EQ(bundle_add_str_array(data, "key", null, 1), -EINVAL);
    EXPECT_EQ(bundle_add_str_array(data, "key", nullptr, 1), -EINVAL);
    EXPECT_EQ(bundle_add_str_array(data, "key", bad, -1), -EINVAL);
    EXPECT_EQ(bundle_add_byte(data, "key", nullptr, 1), -EINVAL);
    EXPECT_EQ(bundle_add_byte(data, "key", "x", size_t{INT_MAX} + 1), -EINVAL);
    char *text = nullptr;
    EXPECT_EQ(bundle_get_str(data, "key", &text), -ENOENT);
}

TEST_F(BundleTest, ToleratesNull)
{
    char *text = nullptr;
    int length = 0;
    void *bytes = nullptr;
    size_t size = 0;
    bundle_free(nullptr);
    EXPECT_EQ(bundle_get_str(nullptr, "key", &text), -EINVAL);
    EXPECT_EQ(bundle_get_str(data, nullptr, &text), -EINVAL);
    EXPECT_EQ(bundle_get_str_array(nullptr, "key", &length), nullptr);
    EXPECT_EQ(bundle_get_byte(nullptr, "key", &bytes, &size), -EINVAL);
    ASSERT_EQ(bundle_add_str(data, "key", "value"), 0);
    EXPECT_EQ(bundle_get_str(data, "key", nullptr), -EINVAL);
}

TEST_F(BundleTest, KeepsArraysOfAnyLength)
{
    for (int count = 0; count < 40; ++count) {
        const std::vector<const char *> texts(static_cast<size_t>(count), "text");
        const std::string key = std::to_string(count);
        ASSERT_EQ(bundle_add_str_array(data, key.c_str(), texts.data(), count), 0);
        int length = -1;
        const char **got = bundle_get_str_array(data, key.c_str(), &length);
        ASSERT_EQ(length, count);
        for (int i = 0; i < count; ++i)
            ASSERT_STREQ(got[i], "text");
        ASSERT_EQ(got[count], nullptr);
    }
}

} // namespace kv::test
