// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// A failure that the agent injects into its reply to a request.
struct Fault {
    enum class Form { die, silent, delay, result, kind, cut, half, garbage, close };

    Form form;
    int value = 0; // milliseconds, a result code, a kind or a number of bytes
};

struct FaultForm {
    const char *name;
    const char *value; // the name of its number; null if it takes none
    Fault::Form form;
    const char *help;
};

const std::vector<FaultForm> &fault_forms();
/// Throws std::invalid_argument if there is no such fault, or its number is missing or out of range.
Fault parse_fault(const std::string &name, const std::optional<int> &value);

/// The faults of the next requests, by method.
class Faults {
public:
    static constexpr int every_method = -1;

    /// Replaces the fault of a method. 0 times removes it.
    void set(int method, Fault fault, int times);
    /// Removes all faults.
    void clear() { next_.clear(); }
    /// Returns the fault of this request and counts it. A fault of the method precedes one of every method.
    std::optional<Fault> take(int method);
    Json view() const;

private:
    struct Pending {
        Fault fault;
        int times;
    };
    std::optional<Fault> take_one(int method);

    std::map<int, Pending> next_{};
};

const char *name_of(Fault::Form form);

} // namespace kv::virtual_agent
