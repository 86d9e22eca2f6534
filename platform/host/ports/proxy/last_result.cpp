// SPDX-License-Identifier: Apache-2.0
#include <last_result.h>

namespace {

// Every call reads it. The initial-exec model makes that one load; it suits a library that is always loaded at start.
[[gnu::tls_model("initial-exec")]] thread_local int last_result = 0;

} // namespace

extern "C" int get_last_result()
{
    return last_result;
}

extern "C" void set_last_result(int result)
{
    last_result = result;
}
