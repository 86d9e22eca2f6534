/* What the device @NAME@ does. */
#ifndef DEVICE_H
#define DEVICE_H

#include <korvane.h>

/* Registers the callbacks, describes the device and starts its service. Runs after each connection, because a new connection
 * has no registrations. Returns KORVANE_ERROR_NONE, or the result of the call that failed. */
int configure_device(korvane_h device, void *user_data);

#endif
