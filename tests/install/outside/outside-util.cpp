// SPDX-License-Identifier: Apache-2.0
#include "outside-util.h"

int main()
{
    return reports_that_no_agent_is_installed() ? 0 : 1;
}
