// SPDX-License-Identifier: Apache-2.0
#include "nowhere.hpp"
#include "src/korvane_master_proxy/connection.hpp"

#include <rpc_port.h>
