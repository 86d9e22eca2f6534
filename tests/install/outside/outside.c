/* SPDX-License-Identifier: Apache-2.0 */
#include "outside.h"

int main(void)
{
    return refuses_without_an_agent() ? 0 : 1;
}
