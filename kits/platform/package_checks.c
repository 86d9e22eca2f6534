/* SPDX-License-Identifier: Apache-2.0 */
/* Installed packages. */
#include "kit.h"

#include <package_info.h>
#include <stdlib.h>

static void reports_an_unknown_package(void)
{
    package_info_h info = NULL;
    g_assert_cmpint(package_info_create("org.korvane.no-such-package", &info), ==, PACKAGE_INFO_NOT_INSTALLED);
    g_assert_cmpint(package_info_destroy(NULL), <=, 0);
}

static void returns_the_version(void)
{
    if (!kit_options.package) {
        g_test_skip("needs --package");
        return;
    }
    package_info_h info = NULL;
    if (package_info_create(kit_options.package, &info) != 0) {
        g_test_fail_printf("package_info_create(\"%s\") failed", kit_options.package);
        return;
    }
    /* Each call returns a copy that the caller releases. */
    char *versions[2] = {NULL, NULL};
    for (int i = 0; i < 2; ++i) {
        g_assert_cmpint(package_info_get_version(info, &versions[i]), ==, 0);
        g_assert_nonnull(versions[i]);
    }
    g_assert_true(versions[0] != versions[1]);
    g_assert_cmpstr(versions[0], ==, versions[1]);
    if (kit_options.version)
        g_assert_cmpstr(versions[0], ==, kit_options.version);
    g_assert_cmpint(package_info_destroy(info), ==, 0);
    free(versions[0]);
    free(versions[1]);
}

void kit_add_package_checks(void)
{
    kit_add("/packages/unknown", reports_an_unknown_package);
    kit_add("/packages/version", returns_the_version);
}
