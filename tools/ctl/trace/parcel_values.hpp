// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace kv::ctl {

/// Decodes a parcel of the agent's interface into JSON with the names of its values; secrets are masked. Values are
/// read in order; after the first that is missing or malformed nothing more is read, and problem() reports it.
class ParcelValues {
public:
    static constexpr int reply_kind = 0;
    static constexpr int event_kind = 1;
    /// The problem of a parcel whose values cannot all be read.
    static constexpr const char *malformed = "cut short or malformed";

    struct Event {
        std::string name;
        int seq_id;
        bool once;
        Json values;
    };

    /// Throws std::bad_alloc.
    ParcelValues(const char *bytes, std::size_t size);

    int int32();
    Json request_arguments(int method);
    /// The out values and, as "result", the agent's result. An unknown method has none.
    Json reply_values(int method);
    Event event();

    void set_malformed() { whole_ = false; }
    /// Why the parcel is not as it should be; "" if it is.
    std::string_view problem() const;

private:
    std::shared_ptr<void> parcel_;
    bool whole_ = true;
};

/// The name of a method or delegate that the interface does not have begins with this: "unknown 999".
inline constexpr const char *unknown_name = "unknown ";

/// The name of a method, or that of an unknown one.
std::string method_name(int id);

} // namespace kv::ctl
