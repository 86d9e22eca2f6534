/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_LAST_RESULT_H
#define KORVANE_PLATFORM_LAST_RESULT_H

/* One value per thread, 0 at first: how the last platform operation of that thread ended. */

#ifdef __cplusplus
extern "C" {
#endif

int get_last_result(void);
void set_last_result(int result);

#ifdef __cplusplus
}
#endif

#endif
