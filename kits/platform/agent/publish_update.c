/* SPDX-License-Identifier: Apache-2.0 */
/* Announces the start of an update, for platforms with app_event_publish.h. */
#include <app_event_publish.h>
#include <stdio.h>

int main(void)
{
    static const char *const packages[] = {"org.korvane.agent"};
    bundle *data = bundle_create();
    int result = data ? bundle_add_str_array(data, "Start", packages, 1) : -12;
    if (result == 0)
        result = event_publish("org.korvane.ServiceManager.UpdateStatus", data);
    bundle_free(data);
    if (result != 0)
        fprintf(stderr, "publish-update: cannot publish the event: error %d\n", result);
    return result != 0;
}
