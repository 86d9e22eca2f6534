// SPDX-License-Identifier: Apache-2.0
#include "src/korvane_master_proxy/connection.hpp"
