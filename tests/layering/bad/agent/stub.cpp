// SPDX-License-Identifier: Apache-2.0
#include "common/owned.hpp"
#include "src/korvane/handle.hpp"
#include "src/korvane_master_proxy/connection.hpp"
#include "src/kv_master/interface.hpp"
