/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_DLOG_H
#define KORVANE_PLATFORM_DLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/** Writes one line to the log. Priorities: 4 info, 5 warning, 6 error. */
int dlog_print(int priority, const char *tag, const char *format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 3, 4)))
#endif
    ;

#ifdef __cplusplus
}
#endif

#endif
