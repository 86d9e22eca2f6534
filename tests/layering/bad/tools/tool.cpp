// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/handle.hpp"

#include <korvane.h>
