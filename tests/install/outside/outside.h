/* SPDX-License-Identifier: Apache-2.0 */
/* An application outside this tree that uses the installed library, compiled as C and as C++. */
#include <korvane.h>

#include <stdio.h>

static int refuses_without_an_agent(void)
{
    korvane_h device = NULL;
    int result = korvane_initialize(&device, NULL, NULL);
    printf("korvane_initialize() without an agent: %d\n", result);
    return result == KORVANE_ERROR_NOT_SUPPORTED && device == NULL;
}
