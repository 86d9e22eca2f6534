/* SPDX-License-Identifier: Apache-2.0 */
#include "state.h"

#include "../common/application.h"

#include <string.h>

static const char group[] = "washer";

static void save(const struct state *state)
{
    if (!state->path)
        return;
    gsize length = 0;
    char *data = g_key_file_to_data(state->texts, &length, NULL);
    GError *error = NULL;
    /* Only the owner can read the file: the user's country and the device's name are private. */
    if (!g_file_set_contents_full(state->path, data, (gssize)length,
                                  G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE, 0600, &error))
        print("state", "not saved: %s", error->message);
    g_clear_error(&error);
    g_free(data);
}

bool state_open(struct state *state, const char *path, GError **error)
{
    state->path = path;
    state->texts = g_key_file_new();
    if (!path || !g_file_test(path, G_FILE_TEST_EXISTS))
        return true;
    if (g_key_file_load_from_file(state->texts, path, G_KEY_FILE_NONE, error))
        return true;
    g_prefix_error(error, "%s: ", path);
    return false;
}

void state_close(struct state *state)
{
    if (state->texts)
        g_key_file_unref(state->texts);
    state->texts = NULL;
}

char *state_get(const struct state *state, const char *name)
{
    return g_key_file_get_string(state->texts, group, name, NULL);
}

void state_set(struct state *state, const char *name, const char *text)
{
    char *known = state_get(state, name);
    char *valid = g_utf8_make_valid(text, -1); /* a key file must be UTF-8 */
    if (g_strcmp0(known, valid) != 0) {
        g_key_file_set_string(state->texts, group, name, valid);
        save(state);
    }
    g_free(valid);
    g_free(known);
}

void state_remove(struct state *state, const char *name)
{
    if (g_key_file_remove_key(state->texts, group, name, NULL))
        save(state);
}

void state_clear(struct state *state)
{
    if (g_key_file_remove_group(state->texts, group, NULL))
        save(state);
}
