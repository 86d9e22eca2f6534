/* SPDX-License-Identifier: Apache-2.0 */
/* Values in parcels: each check sends them to the kit's agent, which sends the whole parcel back. */
#include "agent/commands.h"
#include "kit.h"

#include <limits.h>
#include <stdlib.h>

struct echo {
    struct kit_link link;
    rpc_port_parcel_h parcel;
};

/* Opens a connection and begins a request. */
static bool begin(struct echo *echo)
{
    if (!kit_link_open(&echo->link))
        return false;
    echo->parcel = NULL;
    g_assert_cmpint(rpc_port_parcel_create(&echo->parcel), ==, 0);
    g_assert_cmpint(rpc_port_parcel_write_int32(echo->parcel, KIT_ECHO), ==, 0);
    g_assert_cmpint(rpc_port_parcel_write_int32(echo->parcel, 0), ==, 0);
    return true;
}

/* Replaces the request by its reply, of which the command is already read. */
static bool exchange(struct echo *echo)
{
    const int result = rpc_port_parcel_send(echo->parcel, echo->link.main_port);
    g_assert_cmpint(result, ==, 0);
    g_assert_cmpint(rpc_port_parcel_destroy(echo->parcel), ==, 0);
    echo->parcel = result == 0 ? kit_read(&echo->link) : NULL;
    int number = 0;
    if (echo->parcel && rpc_port_parcel_read_int32(echo->parcel, &number) == 0 && number == KIT_ECHO &&
        rpc_port_parcel_read_int32(echo->parcel, &number) == 0 && number == 0)
        return true;
    g_test_fail_printf("the reply does not begin as the request does");
    return false;
}

static void end(struct echo *echo)
{
    if (echo->parcel)
        g_assert_cmpint(rpc_port_parcel_destroy(echo->parcel), ==, 0);
    kit_link_close(&echo->link);
}

static void expect_string(rpc_port_parcel_h parcel, const char *wanted)
{
    char *text = NULL;
    g_assert_cmpint(rpc_port_parcel_read_string(parcel, &text), ==, 0);
    g_assert_cmpstr(text, ==, wanted);
    free(text);
}

/* No value is left: each read fails and leaves its out argument as it was. */
static void expect_end(rpc_port_parcel_h parcel)
{
    static char unchanged[] = "unchanged";
    int number = 77;
    int count = 78;
    bool flag = true;
    char *text = unchanged;
    g_assert_cmpint(rpc_port_parcel_read_int32(parcel, &number), <, 0);
    g_assert_cmpint(rpc_port_parcel_read_bool(parcel, &flag), <, 0);
    g_assert_cmpint(rpc_port_parcel_read_string(parcel, &text), <, 0);
    g_assert_cmpint(rpc_port_parcel_read_array_count(parcel, &count), <, 0);
    g_assert_cmpint(number, ==, 77);
    g_assert_cmpint(count, ==, 78);
    g_assert_true(flag);
    g_assert_true(text == unchanged);
}

static void carries_numbers(void)
{
    static const int numbers[] = {0, 1, -1, 127, 128, 65536, INT_MAX, INT_MIN};
    struct echo echo;
    if (!begin(&echo))
        return;
    for (size_t i = 0; i < G_N_ELEMENTS(numbers); ++i)
        g_assert_cmpint(rpc_port_parcel_write_int32(echo.parcel, numbers[i]), ==, 0);
    g_assert_cmpint(rpc_port_parcel_write_bool(echo.parcel, true), ==, 0);
    g_assert_cmpint(rpc_port_parcel_write_bool(echo.parcel, false), ==, 0);
    if (exchange(&echo)) {
        for (size_t i = 0; i < G_N_ELEMENTS(numbers); ++i) {
            int number = 42;
            g_assert_cmpint(rpc_port_parcel_read_int32(echo.parcel, &number), ==, 0);
            g_assert_cmpint(number, ==, numbers[i]);
        }
        bool flags[2] = {false, true};
        g_assert_cmpint(rpc_port_parcel_read_bool(echo.parcel, &flags[0]), ==, 0);
        g_assert_cmpint(rpc_port_parcel_read_bool(echo.parcel, &flags[1]), ==, 0);
        g_assert_true(flags[0]);
        g_assert_false(flags[1]);
        expect_end(echo.parcel);
    }
    end(&echo);
}

static void carries_strings(void)
{
    char *text_of_1_mib = g_strnfill(1024 * 1024, 'x');
    const char *const texts[] = {"", "a", "attic lamp", "gr\xc3\xbc\xc3\x9f", "not UTF-8: \xff\xfe", text_of_1_mib};
    struct echo echo;
    if (begin(&echo)) {
        for (size_t i = 0; i < G_N_ELEMENTS(texts); ++i)
            g_assert_cmpint(rpc_port_parcel_write_string(echo.parcel, texts[i]), ==, 0);
        if (exchange(&echo)) {
            for (size_t i = 0; i < G_N_ELEMENTS(texts); ++i)
                expect_string(echo.parcel, texts[i]);
            expect_end(echo.parcel);
        }
        end(&echo);
    }
    g_free(text_of_1_mib);
}

struct lamp {
    int number;
    char *name;
};

static void write_lamp(rpc_port_parcel_h parcel, void *data)
{
    const struct lamp *lamp = data;
    rpc_port_parcel_write_int32(parcel, lamp->number);
    rpc_port_parcel_write_string(parcel, lamp->name);
}

static void read_lamp(rpc_port_parcel_h parcel, void *data)
{
    struct lamp *lamp = data;
    rpc_port_parcel_read_int32(parcel, &lamp->number);
    rpc_port_parcel_read_string(parcel, &lamp->name);
}

static rpc_port_parcelable_t lamp_codec = {write_lamp, read_lamp};

static void carries_arrays_of_records(void)
{
    static char attic[] = "attic";
    static char cellar[] = "cellar";
    struct lamp lamps[2] = {{7, attic}, {-8, cellar}};
    struct echo echo;
    if (!begin(&echo))
        return;
    g_assert_cmpint(rpc_port_parcel_write_array_count(echo.parcel, 2), ==, 0);
    for (int i = 0; i < 2; ++i)
        g_assert_cmpint(rpc_port_parcel_write(echo.parcel, &lamp_codec, &lamps[i]), ==, 0);
    g_assert_cmpint(rpc_port_parcel_write_array_count(echo.parcel, 0), ==, 0);
    if (exchange(&echo)) {
        int count = -1;
        g_assert_cmpint(rpc_port_parcel_read_array_count(echo.parcel, &count), ==, 0);
        g_assert_cmpint(count, ==, 2);
        for (int i = 0; i < 2; ++i) {
            struct lamp lamp = {0, NULL};
            g_assert_cmpint(rpc_port_parcel_read(echo.parcel, &lamp_codec, &lamp), ==, 0);
            g_assert_cmpint(lamp.number, ==, lamps[i].number);
            g_assert_cmpstr(lamp.name, ==, lamps[i].name);
            free(lamp.name);
        }
        g_assert_cmpint(rpc_port_parcel_read_array_count(echo.parcel, &count), ==, 0);
        g_assert_cmpint(count, ==, 0);
        expect_end(echo.parcel);
    }
    end(&echo);
}

/* Sends an array count without its items. */
static void refuses_count(int count_sent)
{
    struct echo echo;
    if (!begin(&echo))
        return;
    if (rpc_port_parcel_write_array_count(echo.parcel, count_sent) == 0 && exchange(&echo)) {
        int count = 78;
        g_assert_cmpint(rpc_port_parcel_read_array_count(echo.parcel, &count), <, 0);
        g_assert_cmpint(count, ==, 78);
    }
    end(&echo);
}

static void refuses_a_negative_count(void)
{
    refuses_count(-1);
    refuses_count(INT_MIN);
}

static void refuses_a_count_beyond_the_end(void)
{
    refuses_count(1000);
    refuses_count(INT_MAX);
}

static void returns_strings_as_copies(void)
{
    struct echo echo;
    if (!begin(&echo))
        return;
    g_assert_cmpint(rpc_port_parcel_write_string(echo.parcel, "attic"), ==, 0);
    if (exchange(&echo)) {
        char *text = NULL;
        g_assert_cmpint(rpc_port_parcel_read_string(echo.parcel, &text), ==, 0);
        g_assert_cmpint(rpc_port_parcel_destroy(echo.parcel), ==, 0);
        echo.parcel = NULL;
        g_assert_cmpstr(text, ==, "attic");
        free(text);
    }
    end(&echo);
}

void kit_add_parcel_checks(void)
{
    kit_add("/parcels/numbers", carries_numbers);
    kit_add("/parcels/strings", carries_strings);
    kit_add("/parcels/string-copies", returns_strings_as_copies);
    kit_add("/parcels/arrays-of-records", carries_arrays_of_records);
    kit_add("/parcels/negative-count", refuses_a_negative_count);
    kit_add("/parcels/count-beyond-end", refuses_a_count_beyond_the_end);
}
