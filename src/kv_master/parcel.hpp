// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <rpc_port.h>

#include <utility>

namespace kv::master {

class Parcel {
public:
    Parcel() = default;
    Parcel &operator=(Parcel &&other) noexcept
    {
        destroy();
        parcel_ = std::exchange(other.parcel_, nullptr);
        return *this;
    }
    ~Parcel() { destroy(); }

    rpc_port_parcel_h get() const { return parcel_; }
    rpc_port_parcel_h *out() { return &parcel_; }
    explicit operator bool() const { return parcel_ != nullptr; }
    void destroy()
    {
        if (rpc_port_parcel_h parcel = std::exchange(parcel_, nullptr))
            rpc_port_parcel_destroy(parcel);
    }

private:
    rpc_port_parcel_h parcel_ = nullptr;
};

} // namespace kv::master
