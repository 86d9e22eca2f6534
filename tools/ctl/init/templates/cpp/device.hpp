// What the device @NAME@ does.
#ifndef DEVICE_HPP
#define DEVICE_HPP

#include <korvane.hpp>

/// Registers the handlers, describes the device and starts its service. Runs after each connection, because a new connection
/// has no registrations. Throws korvane::Error if a call fails.
void configure_device(korvane::Device &device);

#endif
