// SPDX-License-Identifier: Apache-2.0
#include "common/owned.hpp"
#include "handle.hpp"

#include <korvane.h>
