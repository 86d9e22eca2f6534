// SPDX-License-Identifier: Apache-2.0
//
// Application events of a build without the header of the bus library: every function fails.
#include <app_event.h>
#include <app_event_publish.h>

#include "platform/host/log/log.hpp"

#include <cerrno>

namespace {

int refuse(const char *event_name)
{
    using namespace kv::host;
    dlog_print(log_error, log_tag, "cannot use the event %s: the platform was built without sd-bus",
               event_name ? event_name : "(null)");
    return -ENOSYS;
}

} // namespace

extern "C" int event_add_event_handler(const char *event_name, event_cb, void *, event_handler_h *)
{
    return refuse(event_name);
}

extern "C" int event_remove_event_handler(event_handler_h)
{
    return -EINVAL;
}

extern "C" int event_publish(const char *event_name, bundle *)
{
    return refuse(event_name);
}
