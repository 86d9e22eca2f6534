// SPDX-License-Identifier: Apache-2.0
#include <last_result.h>

namespace {

// Initial-exec: the library is always loaded with its application, and this is read on every call.
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
