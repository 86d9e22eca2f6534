// SPDX-License-Identifier: Apache-2.0
#include "common/owned.hpp"
#include "connection.hpp"
#include "interface.hpp"
#include "src/korvane/handle.hpp"
