// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <malloc.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <rpc_port.h>
#include <rpc_port_stub.h>

namespace kv::test {
namespace {

using Bytes = std::vector<unsigned char>;

class ParcelHandle {
public:
    ParcelHandle() { EXPECT_EQ(0, rpc_port_parcel_create(&handle_)); }
    explicit ParcelHandle(const Bytes &bytes)
    {
        EXPECT_EQ(0, rpc_port_parcel_create_from_raw(&handle_, bytes.data(), bytes.size()));
    }
    ~ParcelHandle() { rpc_port_parcel_destroy(handle_); }
    ParcelHandle(const ParcelHandle &) = delete;
    ParcelHandle &operator=(const ParcelHandle &) = delete;
    operator rpc_port_parcel_h() const { return handle_; }

    Bytes bytes() const
    {
        const void *start = nullptr;
        size_t size = 0;
        EXPECT_EQ(0, rpc_port_parcel_get_raw(handle_, &start, &size));
        const auto *first = static_cast<const unsigned char *>(start);
        return {first, first + size};
    }

private:
    rpc_port_parcel_h handle_ = nullptr;
};

TEST(ParcelTest, EncodesAnInt32AsFourBytesLittleEndian)
{
    ParcelHandle parcel;
    EXPECT_EQ(0, rpc_port_parcel_write_int32(parcel, 0x01020304));
    EXPECT_EQ(0, rpc_port_parcel_write_int32(parcel, -2));
    EXPECT_EQ((Bytes{4, 3, 2, 1, 0xfe, 0xff, 0xff, 0xff}), parcel.bytes());
}

TEST(ParcelTest, EncodesABoolAsOneByte)
{
    ParcelHandle parcel;
    EXPECT_EQ(0, rpc_port_parcel_write_bool(parcel, true));
    EXPECT_EQ(0, rpc_port_parcel_write_bool(parcel, false));
    EXPECT_EQ((Bytes{1, 0}), parcel.bytes());
}

TEST(ParcelTest, EncodesAStringAsLengthAndBytes)
{
    ParcelHandle parcel;
    EXPECT_EQ(0, rpc_port_parcel_write_string(parcel, "ab\xc3\xa9"));
    EXPECT_EQ((Bytes{4, 0, 0, 0, 'a', 'b', 0xc3, 0xa9}), parcel.bytes());
}

TEST(ParcelTest, EncodesANullStringAsAnEmptyOne)
{
    ParcelHandle parcel;
    EXPECT_EQ(0, rpc_port_parcel_write_string(parcel, nullptr));
    EXPECT_EQ((Bytes{0, 0, 0, 0}), parcel.bytes());
    char *text = nullptr;
    EXPECT_EQ(0, rpc_port_parcel_read_string(parcel, &text));
    EXPECT_STREQ("", text);
    free(text);
}

struct Point {
    int x;
    int y;
};

rpc_port_parcelable_t point_form = {
    [](rpc_port_parcel_h parcel, void *data) {
        rpc_port_parcel_write_int32(parcel, static_cast<Point *>(data)->x);
        rpc_port_parcel_write_int32(parcel, static_cast<Point *>(data)->y);
    },
    [](rpc_port_parcel_h parcel, void *data) {
        rpc_port_parcel_read_int32(parcel, &static_cast<Point *>(data)->x);
        rpc_port_parcel_read_int32(parcel, &static_cast<Point *>(data)->y);
    },
};

TEST(ParcelTest, EncodesStructuredValuesWithoutAHeader)
{
    ParcelHandle parcel;
    Point written{1, 2};
    EXPECT_EQ(0, rpc_port_parcel_write_array_count(parcel, 1));
    EXPECT_EQ(0, rpc_port_parcel_write(parcel, &point_form, &written));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0}), parcel.bytes());
    int count = 0;
    Point read{0, 0};
    EXPECT_EQ(0, rpc_port_parcel_read_array_count(parcel, &count));
    EXPECT_EQ(0, rpc_port_parcel_read(parcel, &point_form, &read));
    EXPECT_EQ(1, count);
    EXPECT_EQ(1, read.x);
    EXPECT_EQ(2, read.y);
}

enum Kind : unsigned { int32 = 1, boolean = 2, string = 4, count = 8 };

// A failed read leaves the value that it was to fill as it was.
void expect_failed_reads(const Bytes &bytes, unsigned kinds)
{
    ParcelHandle parcel(bytes);
    int number = 77;
    bool truth = true;
    char mark = 'm';
    char *text = &mark;
    if (kinds & int32) {
        EXPECT_GT(0, rpc_port_parcel_read_int32(parcel, &number));
    }
    if (kinds & string) {
        EXPECT_GT(0, rpc_port_parcel_read_string(parcel, &text));
    }
    if (kinds & count) {
        EXPECT_GT(0, rpc_port_parcel_read_array_count(parcel, &number));
    }
    if (kinds & boolean) {
        EXPECT_GT(0, rpc_port_parcel_read_bool(parcel, &truth));
    }
    EXPECT_EQ(77, number);
    EXPECT_TRUE(truth);
    EXPECT_EQ(&mark, text);
}

TEST(ParcelReadTest, LeavesTheValueUnchangedAtEveryCutOfANumber)
{
    for (size_t size = 0; size < 4; size++)
        expect_failed_reads(Bytes(size, 1), size == 0 ? int32 | boolean | string | count : int32 | string | count);
}

TEST(ParcelReadTest, LeavesTheValueUnchangedAtEveryCutOfAString)
{
    const Bytes whole{3, 0, 0, 0, 'a', 'b', 'c'};
    for (size_t size = 0; size < whole.size(); size++)
        expect_failed_reads({whole.begin(), whole.begin() + static_cast<long>(size)}, string);
}

TEST(ParcelReadTest, KeepsItsPositionOnFailure)
{
    ParcelHandle parcel(Bytes{9, 0, 0, 0, 'a'});
    char *text = nullptr;
    EXPECT_GT(0, rpc_port_parcel_read_string(parcel, &text));
    int count = 0;
    EXPECT_GT(0, rpc_port_parcel_read_array_count(parcel, &count));
    bool truth = false;
    EXPECT_GT(0, rpc_port_parcel_read_bool(parcel, &truth));
    int number = 0;
    EXPECT_EQ(0, rpc_port_parcel_read_int32(parcel, &number));
    EXPECT_EQ(9, number);
}

TEST(ParcelReadTest, RefusesABoolOtherThanZeroAndOne)
{
    for (int value = 2; value < 256; value++)
        expect_failed_reads({static_cast<unsigned char>(value)}, boolean);
}

TEST(ParcelReadTest, RefusesAStringWithAZeroByte)
{
    expect_failed_reads({3, 0, 0, 0, 'a', 0, 'c'}, string);
}

TEST(ParcelReadTest, RefusesAHugeLength)
{
    for (const unsigned char top : Bytes{0x7f, 0x80, 0xff})
        expect_failed_reads({0xff, 0xff, 0xff, top, 1, 2, 3}, string | count);
}

TEST(ParcelReadTest, AcceptsACountUpToTheRemainingBytes)
{
    ParcelHandle parcel(Bytes{3, 0, 0, 0, 1, 2, 3});
    int count = 0;
    EXPECT_EQ(0, rpc_port_parcel_read_array_count(parcel, &count));
    EXPECT_EQ(3, count);
}

TEST(ParcelReadTest, RefusesACountOverTheRemainingBytes)
{
    expect_failed_reads({4, 0, 0, 0, 1, 2, 3}, count);
    expect_failed_reads({0xff, 0xff, 0xff, 0xff, 1, 2, 3}, count);
}

TEST(ParcelTest, GrowsToTheLimitAndNotBeyond)
{
    ParcelHandle parcel;
    const std::string megabyte((size_t{1} << 20) - 4, 'x');
    for (int i = 0; i < 16; i++)
        EXPECT_EQ(0, rpc_port_parcel_write_string(parcel, megabyte.c_str()));
    EXPECT_EQ(size_t{16} << 20, parcel.bytes().size());
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_write_bool(parcel, true));
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_write_int32(parcel, 1));
    EXPECT_EQ(size_t{16} << 20, parcel.bytes().size());
}

TEST(ParcelTest, RefusesEveryWriteAfterAFailedOne)
{
    ParcelHandle parcel;
    const std::string huge((size_t{16} << 20) + 1, 'x');
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_write_string(parcel, huge.c_str()));
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_write_int32(parcel, 1));
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_write_bool(parcel, true));
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_write_string(parcel, ""));
    Point point{1, 2};
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_write(parcel, &point_form, &point));
    EXPECT_EQ(Bytes{}, parcel.bytes());
}

TEST(ParcelPoolTest, ReturnsEmptyParcels)
{
    {
        ParcelHandle spoilt;
        const std::string huge((size_t{16} << 20) + 1, 'x');
        rpc_port_parcel_write_int32(spoilt, 5);
        rpc_port_parcel_write_string(spoilt, huge.c_str());
    }
    ParcelHandle parcel;
    EXPECT_EQ(Bytes{}, parcel.bytes());
    EXPECT_EQ(0, rpc_port_parcel_write_int32(parcel, 1));
    EXPECT_EQ((Bytes{1, 0, 0, 0}), parcel.bytes());
}

TEST(ParcelPoolTest, KeepsBuffersUpTo64KiB)
{
    const auto place = [](size_t size) {
        ParcelHandle parcel;
        EXPECT_EQ(0, rpc_port_parcel_write_string(parcel, std::string(size, 'x').c_str()));
        const void *bytes = nullptr;
        EXPECT_EQ(0, rpc_port_parcel_get_raw(parcel, &bytes, &size));
        return std::pair<rpc_port_parcel_h, const void *>(parcel, bytes);
    };
    const auto first = place(1);
    EXPECT_EQ(first, place(1));
    EXPECT_EQ(place(40000), place(40000));
    EXPECT_EQ(place(1), place(40000)) << "the larger buffer is kept";
    const struct mallinfo2 before = mallinfo2();
    place(size_t{1} << 20);
    const struct mallinfo2 after = mallinfo2();
    EXPECT_GE(before.uordblks + before.hblkhd, after.uordblks + after.hblkhd) << "a huge buffer is not kept";
}

TEST(ParcelTest, ReadsFromTheStartAfterRewind)
{
    ParcelHandle parcel(Bytes{1, 0, 0, 0});
    int number = 0;
    EXPECT_EQ(0, rpc_port_parcel_read_int32(parcel, &number));
    EXPECT_GT(0, rpc_port_parcel_read_int32(parcel, &number));
    EXPECT_EQ(0, rpc_port_parcel_rewind(parcel));
    EXPECT_EQ(0, rpc_port_parcel_read_int32(parcel, &number));
}

TEST(ParcelTest, RefusesRawBytesOverTheLimit)
{
    const Bytes bytes((size_t{16} << 20) + 1);
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_create_from_raw(&parcel, bytes.data(), bytes.size()));
    EXPECT_EQ(nullptr, parcel);
}

TEST(ParcelPoolTest, AllowsDestructionInAnotherThread)
{
    // Run with the leak and address sanitizers: every thread frees what it has kept.
    for (int round = 0; round < 20; round++) {
        std::vector<rpc_port_parcel_h> parcels(32);
        std::thread([&] {
            for (auto &parcel : parcels)
                ASSERT_EQ(0, rpc_port_parcel_create(&parcel));
        }).join();
        for (auto parcel : parcels)
            EXPECT_EQ(0, rpc_port_parcel_write_int32(parcel, round));
        std::thread([&] {
            for (auto parcel : parcels)
                EXPECT_EQ(0, rpc_port_parcel_destroy(parcel));
        }).join();
    }
}

TEST(ParcelTest, RefusesNullInEveryFunction)
{
    ParcelHandle parcel;
    Point point{1, 2};
    rpc_port_parcelable_t without = {nullptr, nullptr};
    EXPECT_EQ(-EINVAL, rpc_port_parcel_create(nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_destroy(nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_write_int32(nullptr, 1));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_write_bool(nullptr, true));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_write_string(nullptr, ""));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_write(nullptr, &point_form, &point));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_write(parcel, nullptr, &point));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_write(parcel, &without, &point));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_read_int32(parcel, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_read_bool(parcel, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_read_string(parcel, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_read_array_count(parcel, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_read(parcel, &without, &point));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_create_from_port(nullptr, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_parcel_send(parcel, nullptr));
}

} // namespace

} // namespace kv::test
