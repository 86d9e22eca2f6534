// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib-object.h>

#include <memory>

namespace kv::virtual_agent {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

/// A reference to a GObject.
template <class Object>
using Ref = std::unique_ptr<Object, Unref>;

} // namespace kv::virtual_agent
