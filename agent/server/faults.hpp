// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// Something that goes wrong when a request is answered.
struct Fault {
    enum class Form { die, silent, delay, result, kind, cut, half, garbage, close };

    Form form;
    int value = 0; // milliseconds, a result code, a kind or a number of bytes
};

struct FaultForm {
    const char *name;
    const char *value; // what its number is; NULL when it takes none
    Fault::Form form;
    const char *help;
};

const std::vector<FaultForm> &fault_forms();
/// Throws std::invalid_argument when there is no such fault or its number is missing.
Fault parse_fault(const std::string &name, const std::optional<int> &value);

/// What is to go wrong with the next requests of a method.
class Faults {
public:
    static constexpr int every_method = -1;

    /// Takes the place of what was to go wrong with the method. Not even once takes it back.
    void set(int method, Fault fault, int times);
    /// Takes back everything.
    void clear() { next_.clear(); }
    /// What goes wrong with this request; what is set for the method itself comes before what is set for every one.
    std::optional<Fault> take(int method);
    Json view() const;

private:
    struct Coming {
        Fault fault;
        int times;
    };
    std::optional<Fault> take_one(int method);

    std::map<int, Coming> next_{};
};

const char *name_of(Fault::Form form);

} // namespace kv::virtual_agent
