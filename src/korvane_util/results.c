/* SPDX-License-Identifier: Apache-2.0 */
#include <korvane_results.h>
#include <korvane_util.h>

#include <stddef.h>

static const struct korvane_util_result results[] = {
#define ROW(name, cause, remedy) {KORVANE_ERROR_##name, #name, cause, remedy},
    KORVANE_RESULTS(ROW)
#undef ROW
};

const struct korvane_util_result *korvane_util_explain(int code)
{
    for (size_t i = 0; i < sizeof results / sizeof *results; ++i)
        if (results[i].code == code)
            return &results[i];
    return NULL;
}
