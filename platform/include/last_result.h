/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_LAST_RESULT_H
#define KORVANE_PLATFORM_LAST_RESULT_H

/* The result of the thread's last platform operation: one value per thread, initially 0. */

#ifdef __cplusplus
extern "C" {
#endif

int get_last_result(void);
void set_last_result(int result);

#ifdef __cplusplus
}
#endif

#endif
