/* SPDX-License-Identifier: Apache-2.0 */
/* A washer that a phone sets up and that then lives in the cloud. See README.md. */
#include "washer.h"

#include <stdlib.h>

static const char summary[] = "A washer that a phone sets up and that then lives in the cloud.";

/* A sample of the account that the maker's phone application sends. */
static const char sample_account[] =
    "{\"region\":\"EU\",\"auth_provider\":\"washer.example\",\"user_id\":\"sample\","
    "\"client_id\":\"washer\",\"access_token\":\"sample\",\"refresh_token\":\"sample\"}";

static int configure(korvane_h device, void *user_data)
{
    static const struct call *const steps[] = {setup_registrations, wifi_registrations, cloud_registrations,
                                               identity_calls};
    for (size_t i = 0; i < G_N_ELEMENTS(steps); ++i) {
        int result = make_calls(device, steps[i], user_data);
        if (result != KORVANE_ERROR_NONE)
            return result;
    }
    return start_service(device);
}

static void on_connected(korvane_h device, void *user_data)
{
    char *id = NULL;
    if (korvane_get_device_id(device, &id) == KORVANE_ERROR_NONE)
        print("device id", "%s", id);
    free(id);
    cloud_follow(user_data);
    print("washer", "ready");
}

static void on_lost(void *user_data)
{
    cloud_reset_link(user_data);
}

/* ---- the command line -------------------------------------------------------------------------------------------- */

static cJSON *read_account(const char *path, GError **error)
{
    char *text = NULL;
    if (!path)
        return cJSON_Parse(sample_account);
    if (!g_file_get_contents(path, &text, NULL, error))
        return NULL;
    cJSON *account = cJSON_ParseWithOpts(text, NULL, true);
    g_free(text);
    if (cJSON_IsObject(account))
        return account;
    cJSON_Delete(account);
    g_set_error(error, g_quark_from_static_string("account"), 0, "%s: not a JSON object", path);
    return NULL;
}

/* Reads the files of the command line, so that a mistake in one is reported before anything else happens. */
static bool open_files(struct washer *washer, GError **error)
{
    GPtrArray *scan = radio_scan(washer->radio_path, error);
    if (!scan)
        return false;
    g_ptr_array_unref(scan);
    if (washer->csr_path && !g_file_test(washer->csr_path, G_FILE_TEST_IS_REGULAR)) {
        g_set_error(error, g_quark_from_static_string("csr"), 0, "%s: no such file", washer->csr_path);
        return false;
    }
    if (washer->sign_up || washer->account_path) {
        washer->account = read_account(washer->account_path, error);
        if (!washer->account)
            return false;
    }
    return state_open(&washer->state, washer->state_path, error);
}

static bool read_command_line(struct washer *washer, int argc, char **argv)
{
    const GOptionEntry options[] = {
        {"radio", 0, 0, G_OPTION_ARG_FILENAME, &washer->radio_path,
         "the networks that the radio receives, a JSON file that is read at each scan and join", "FILE"},
        {"join-ms", 0, 0, G_OPTION_ARG_INT, &washer->join_ms, "duration of joining a network (500)", "N"},
        {"state", 0, 0, G_OPTION_ARG_FILENAME, &washer->state_path,
         "file for language, country, name and certificate; the key is stored in FILE.key", "FILE"},
        {"refuse-confirm", 0, 0, G_OPTION_ARG_NONE, &washer->refuse_confirm, "the user refuses setup and reset", NULL},
        {"sign-up", 0, 0, G_OPTION_ARG_NONE, &washer->sign_up,
         "sign up to the cloud at once, with the account of --account or a sample", NULL},
        {"account", 0, 0, G_OPTION_ARG_FILENAME, &washer->account_path,
         "the user's account as a JSON file; the washer signs up when it has joined a network", "FILE"},
        {"csr", 0, 0, G_OPTION_ARG_FILENAME, &washer->csr_path,
         "request a certificate with this signing request instead of creating one", "FILE"},
        {NULL, 0, 0, G_OPTION_ARG_NONE, NULL, NULL, NULL},
    };
    if (!parse_command_line(&argc, &argv, options, summary))
        return false;
    if (washer->join_ms < 0) {
        wrong_command_line("--join-ms must be 0 or above, not %d", washer->join_ms);
        return false;
    }
    GError *error = NULL;
    bool good = open_files(washer, &error);
    if (!good)
        wrong_command_line("%s", error->message);
    g_clear_error(&error);
    return good;
}

static void clear(struct washer *washer)
{
    wifi_cancel_join(washer);
    cloud_take_account(washer, NULL);
    state_close(&washer->state);
    g_free(washer->radio_path);
    g_free(washer->state_path);
    g_free(washer->account_path);
    g_free(washer->csr_path);
}

int main(int argc, char **argv)
{
    struct washer washer = {.join_ms = 500};
    const struct application application = {
        .configure = configure, .connected = on_connected, .lost = on_lost, .user_data = &washer, .stay = true};
    int status = read_command_line(&washer, argc, argv) ? run_application(&application) : NOT_REACHED;
    clear(&washer);
    return status;
}
