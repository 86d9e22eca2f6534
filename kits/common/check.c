/* SPDX-License-Identifier: Apache-2.0 */
#include "check.h"

#include <signal.h>
#include <string.h>
#include <unistd.h>

int kit_timeout_s = 30;

/* ---- checks ---- */

static const char *running_check;

/* A check that blocks cannot fail by itself. */
static void end_blocked_check(int signal_number)
{
    (void)signal_number;
    static const char before[] = "Bail out! This check blocks: ";
    (void)!write(STDOUT_FILENO, before, sizeof before - 1);
    (void)!write(STDOUT_FILENO, running_check, strlen(running_check));
    (void)!write(STDOUT_FILENO, "\n", 1);
    _exit(1);
}

struct check {
    char *path;
    void (*run)(void);
    void (*run_row)(const void *row); /* instead of `run` */
    const void *row;
};

static void run_check(const void *data)
{
    const struct check *check = data;
    running_check = check->path;
    signal(SIGALRM, end_blocked_check);
    alarm((unsigned)kit_timeout_s * 3);
    if (check->run)
        check->run();
    else
        check->run_row(check->row);
    alarm(0);
}

static void free_check(void *data)
{
    struct check *check = data;
    g_free(check->path);
    g_free(check);
}

static void add(struct check contents)
{
    struct check *check = g_new(struct check, 1);
    *check = contents;
    g_test_add_data_func_full(check->path, check, run_check, free_check);
}

void kit_add(const char *path, void (*run)(void))
{
    add((struct check){.path = g_strdup(path), .run = run});
}

void kit_add_row(const char *path, void (*run)(const void *row), const void *row)
{
    add((struct check){.path = g_strdup(path), .run_row = run, .row = row});
}

/* ---- waiting ---- */

static gboolean end_wait(gpointer is_over)
{
    *(bool *)is_over = true;
    return G_SOURCE_REMOVE;
}

/* Runs the main loop until is_met(data) or the end of the time. Returns whether the condition is met. */
static bool run_loop_until(bool (*is_met)(const void *data), const void *data, guint milliseconds)
{
    bool is_over = false;
    guint timer = g_timeout_add(milliseconds, end_wait, &is_over);
    while (!is_met(data) && !is_over)
        g_main_context_iteration(NULL, TRUE);
    if (!is_over)
        g_source_remove(timer);
    return is_met(data);
}

static bool is_true(const void *condition)
{
    return *(const bool *)condition;
}

static bool never(const void *data)
{
    (void)data;
    return false;
}

struct counter {
    const int *count;
    int wanted;
};

static bool is_reached(const void *data)
{
    const struct counter *counter = data;
    return *counter->count >= counter->wanted;
}

bool kit_wait(const bool *condition, const char *what)
{
    if (run_loop_until(is_true, condition, (guint)kit_timeout_s * 1000))
        return true;
    g_test_fail_printf("%s: not within %d s", what, kit_timeout_s);
    return false;
}

bool kit_wait_count(const int *count, int wanted, const char *what)
{
    const struct counter counter = {count, wanted};
    if (run_loop_until(is_reached, &counter, (guint)kit_timeout_s * 1000))
        return true;
    g_test_fail_printf("%s: %d of %d within %d s", what, *count, wanted, kit_timeout_s);
    return false;
}

void kit_run_loop(int milliseconds)
{
    run_loop_until(never, NULL, (guint)milliseconds);
}
