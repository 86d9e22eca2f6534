/* SPDX-License-Identifier: Apache-2.0 */
/* What the washer still knows after it was switched off: texts by name, in a file. */
#ifndef WASHER_STATE_H
#define WASHER_STATE_H

#include <glib.h>
#include <stdbool.h>

struct state {
    const char *path; /* NULL: it is forgotten with the process */
    GKeyFile *texts;
};

/* A file that is not there is an empty one. */
bool state_open(struct state *state, const char *path, GError **error);
void state_close(struct state *state);

/* To be freed with g_free(); NULL when nothing is known. */
char *state_get(const struct state *state, const char *name);
/* The file is replaced as a whole: whenever the power fails, it is the old one or the new one. */
void state_set(struct state *state, const char *name, const char *text);
void state_forget_all(struct state *state);

#endif
