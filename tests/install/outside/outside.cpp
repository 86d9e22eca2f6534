// SPDX-License-Identifier: Apache-2.0
#include "outside.h"

#include <korvane.hpp>

static bool the_cpp_api_refuses_as_well()
{
    return korvane::Device::open().error() == korvane::Errc::not_supported;
}

int main()
{
    return refuses_without_an_agent() && the_cpp_api_refuses_as_well() ? 0 : 1;
}
