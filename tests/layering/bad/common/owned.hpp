// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"
#include "nowhere.hpp"

#include <rpc_port.h>
