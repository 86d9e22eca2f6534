// SPDX-License-Identifier: Apache-2.0
#include "e2e/application.hpp"
#include "src/korvane/handle.hpp"
