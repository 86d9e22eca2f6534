// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// Something that goes wrong, once, when a request is answered.
struct Fault {
    enum class Form { die, silent, delay, result, kind, cut, half, close };

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

/// What is to go wrong with the next request of a method.
class Faults {
public:
    void set(int method, Fault fault) { next_.insert_or_assign(method, fault); }
    std::optional<Fault> take(int method);
    Json view() const;

private:
    std::map<int, Fault> next_;
};

const char *name_of(Fault::Form form);

} // namespace kv::virtual_agent
