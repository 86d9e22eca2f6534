/* SPDX-License-Identifier: Apache-2.0 */
/* size_korvane: prints the number of heap bytes in use after korvane_initialize that were not in use before, including
 * those of other libraries. */
#include <glib.h>
#include <korvane.h>
#include <malloc.h>
#include <stdio.h>

static size_t in_use(void)
{
    struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

int main(void)
{
    korvane_h handle;
    GMainLoop *loop = g_main_loop_new(NULL, FALSE); /* as an application has one */
    size_t before = in_use();
    if (korvane_initialize(&handle, NULL, NULL) != KORVANE_ERROR_NONE)
        return 1;
    printf("%zu\n", in_use() - before);
    korvane_deinitialize(handle);
    g_main_loop_unref(loop);
    return 0;
}
