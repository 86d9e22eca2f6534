/* SPDX-License-Identifier: Apache-2.0 */
/* The washer's persistent state: texts by name, in a file. */
#ifndef WASHER_STATE_H
#define WASHER_STATE_H

#include <glib.h>
#include <stdbool.h>

struct state {
    const char *path; /* NULL: the state ends with the process */
    GKeyFile *texts;
};

/* Reads the file. A missing file is an empty state. */
bool state_open(struct state *state, const char *path, GError **error);
void state_close(struct state *state);

/* Returns a copy to be freed with g_free(); NULL if nothing is stored under the name. */
char *state_get(const struct state *state, const char *name);
/* Stores a text. The file is replaced as a whole, so after a power failure it is either the old or the new one. */
void state_set(struct state *state, const char *name, const char *text);
void state_remove(struct state *state, const char *name);
void state_clear(struct state *state);

#endif
