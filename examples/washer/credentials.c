/* SPDX-License-Identifier: Apache-2.0 */
/* The washer's certificate, for a private key that never leaves the device, and a token for its maker's server. */
#include "washer.h"

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <glib/gstdio.h>

#include <stdlib.h>
#include <string.h>

/* ---- key and signing request ------------------------------------------------------------------------------------- */

/* The key is stored next to the state; without a state it ends with the process. */
static char *key_path(const struct washer *washer)
{
    return washer->state_path ? g_strconcat(washer->state_path, ".key", NULL) : NULL;
}

static EVP_PKEY *read_key(const char *path)
{
    char *pem = NULL;
    gsize length = 0;
    GError *error = NULL;
    if (!g_file_get_contents(path, &pem, &length, &error)) {
        print("key", "%s", error->message);
        g_clear_error(&error);
        return NULL;
    }
    /* An empty passphrase: OpenSSL must not prompt for one. */
    static char passphrase[] = "";
    BIO *bio = BIO_new_mem_buf(pem, (int)length);
    EVP_PKEY *key = bio ? PEM_read_bio_PrivateKey(bio, NULL, NULL, passphrase) : NULL;
    if (!key)
        print("key", "%s holds no private key; move it away to create a new one", path);
    BIO_free(bio);
    OPENSSL_cleanse(pem, length);
    g_free(pem);
    return key;
}

static bool save_key(EVP_PKEY *key, const char *path)
{
    BIO *bio = BIO_new(BIO_s_secmem());
    char *pem = NULL;
    bool good = bio && PEM_write_bio_PrivateKey(bio, key, NULL, NULL, 0, NULL, NULL) == 1;
    long length = good ? BIO_get_mem_data(bio, &pem) : 0;
    GError *error = NULL;
    good = good && g_file_set_contents_full(path, pem, length, G_FILE_SET_CONTENTS_CONSISTENT, 0600, &error);
    if (!good)
        print("key", "not saved: %s", error ? error->message : "no memory");
    g_clear_error(&error);
    BIO_free(bio);
    return good;
}

static EVP_PKEY *make_key(const char *path)
{
    EVP_PKEY *key = EVP_EC_gen("P-256");
    print("key", "%s", key ? "made" : "could not be made");
    /* A key that cannot be saved is not used: its certificate would be useless after a restart. */
    if (key && path && !save_key(key, path)) {
        EVP_PKEY_free(key);
        key = NULL;
    }
    return key;
}

static EVP_PKEY *own_key(const struct washer *washer)
{
    char *path = key_path(washer);
    EVP_PKEY *key = NULL;
    if (path && g_file_test(path, G_FILE_TEST_EXISTS))
        key = read_key(path); /* never replace an unreadable key: a certificate may depend on it */
    else
        key = make_key(path);
    g_free(path);
    return key;
}

static char *text_of(X509_REQ *request)
{
    BIO *bio = BIO_new(BIO_s_mem());
    char *data = NULL;
    char *text = NULL;
    if (bio && PEM_write_bio_X509_REQ(bio, request) == 1) {
        long length = BIO_get_mem_data(bio, &data);
        text = g_strndup(data, (gsize)length);
    }
    BIO_free(bio);
    return text;
}

static char *make_request(const struct washer *washer, const char *common_name)
{
    EVP_PKEY *key = own_key(washer);
    X509_REQ *request = key ? X509_REQ_new() : NULL;
    char *text = NULL;
    if (request &&
        X509_NAME_add_entry_by_txt(X509_REQ_get_subject_name(request), "CN", MBSTRING_UTF8,
                                   (const unsigned char *)common_name, -1, -1, 0) == 1 &&
        X509_REQ_set_pubkey(request, key) == 1 && X509_REQ_sign(request, key, EVP_sha256()) > 0)
        text = text_of(request);
    X509_REQ_free(request);
    EVP_PKEY_free(key);
    return text;
}

/* ---- certificate ------------------------------------------------------------------------------------------------- */

static void ask_for_certificate(korvane_h device, struct washer *washer);

/* A certificate that has expired or was revoked is replaced by one for another key. */
static void replace_certificate(korvane_h device, struct washer *washer)
{
    char *path = washer->csr_path ? NULL : key_path(washer);
    if (path)
        g_remove(path);
    g_free(path);
    state_remove(&washer->state, "certificate");
    ask_for_certificate(device, washer);
}

static void on_certificate_found(korvane_h device, int result, const char *text1, const char *text2, void *user_data)
{
    if (result == 0) {
        print("certificate", "found, %zu and %zu bytes", strlen(text1), strlen(text2));
        return;
    }
    print("certificate", "not valid, the agent's code is %d", result);
    replace_certificate(device, user_data);
}

/* The event carries the certificate and its name, by which it can be found again; or only the name. */
static void on_certificate_made(korvane_h device, int result, const char *text, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    if (result != 0) {
        print("certificate", "refused, the agent's code is %d", result);
        return;
    }
    cJSON *made = cJSON_Parse(text);
    const char *name = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(made, "certificate_arn"));
    if (!name)
        name = text;
    state_set(&washer->state, "certificate", name);
    print("certificate", "made, its name has %zu bytes", strlen(name));
    cJSON_Delete(made);
}

static char *signing_request(korvane_h device, const struct washer *washer)
{
    char *text = NULL;
    if (washer->csr_path) {
        GError *error = NULL;
        if (!g_file_get_contents(washer->csr_path, &text, NULL, &error))
            print("signing request", "%s", error->message);
        g_clear_error(&error);
        return text;
    }
    char *id = NULL;
    if (korvane_get_device_id(device, &id) == KORVANE_ERROR_NONE)
        text = make_request(washer, id);
    free(id);
    print("signing request", "%s", text ? "made" : "could not be made");
    return text;
}

static void ask_for_certificate(korvane_h device, struct washer *washer)
{
    char *name = state_get(&washer->state, "certificate");
    char *request = name ? NULL : signing_request(device, washer);
    if (name)
        step("get_hdr_certificate",
             korvane_get_hdr_certificate(device, device_type, name, on_certificate_found, washer));
    else if (request)
        step("create_hdr_certificate",
             korvane_create_hdr_certificate(device, device_type, request, on_certificate_made, washer));
    g_free(request);
    g_free(name);
}

/* ---- token ------------------------------------------------------------------------------------------------------- */

static void on_token(korvane_h device, int result, korvane_hdr_token_info_h token_info, void *user_data)
{
    (void)device;
    (void)user_data;
    if (result != 0 || !token_info) {
        print("token", "none, the agent's code is %d", result);
        return;
    }
    char *server = NULL;
    int expires = 0;
    bool has_server = korvane_hdr_token_info_get_server_url(token_info, &server) == KORVANE_ERROR_NONE && server;
    bool has_end = korvane_hdr_token_info_get_expiration_time(token_info, &expires) == KORVANE_ERROR_NONE;
    char *end = has_end ? g_strdup_printf("expires at %d", expires) : g_strdup("without an end");
    print("token", "for %s, %s", has_server ? server : "an unnamed server", end);
    g_free(end);
    free(server);
}

/* Requests token and certificate, once for each link, when the washer is signed in. */
void credentials_ask(struct washer *washer)
{
    korvane_h device = connected_device();
    if (!device || washer->credentials_asked)
        return;
    washer->credentials_asked = true;
    int result = korvane_create_hdr_token_info(device, on_token, washer);
    step("create_hdr_token_info", result);
    if (result == KORVANE_ERROR_NONE) /* an agent without tokens has no certificates either */
        ask_for_certificate(device, washer);
}
