// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <korvane.h>

#include <map>
#include <string>

namespace kv::test::header {

/// Every result code by its name.
inline const std::map<std::string, int> &result_codes()
{
    static const std::map<std::string, int> codes = {
        {"KORVANE_ERROR_NONE", KORVANE_ERROR_NONE},
        {"KORVANE_ERROR_INVALID_PARAMETER", KORVANE_ERROR_INVALID_PARAMETER},
        {"KORVANE_ERROR_OUT_OF_MEMORY", KORVANE_ERROR_OUT_OF_MEMORY},
        {"KORVANE_ERROR_PERMISSION_DENIED", KORVANE_ERROR_PERMISSION_DENIED},
        {"KORVANE_ERROR_IO_ERROR", KORVANE_ERROR_IO_ERROR},
        {"KORVANE_ERROR_NO_DATA", KORVANE_ERROR_NO_DATA},
        {"KORVANE_ERROR_NOT_SUPPORTED", KORVANE_ERROR_NOT_SUPPORTED},
        {"KORVANE_ERROR_OPERATION_FAILED", KORVANE_ERROR_OPERATION_FAILED},
        {"KORVANE_ERROR_SERVICE_UNAVAILABLE", KORVANE_ERROR_SERVICE_UNAVAILABLE},
        {"KORVANE_ERROR_AGENT_VERSION_LOWER", KORVANE_ERROR_AGENT_VERSION_LOWER},
    };
    return codes;
}

} // namespace kv::test::header
