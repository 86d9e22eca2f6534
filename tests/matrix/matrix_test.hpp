// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/platform_fixture.hpp"
#include "function_table.hpp"
#include "world.hpp"

#include <functional>
#include <ostream>
#include <string>

namespace kv::test::matrix {

inline std::ostream &operator<<(std::ostream &out, const Function &function)
{
    return out << function.name;
}

/// The number of cells of a matrix, and the number of those that passed.
struct Tally {
    int functions = 0;
    int cells = 0;
    int as_expected = 0;

    /// "179 functions x 13 agents = 2327 cells: 2327 as expected".
    void print(const std::string &other_axis) const;
};

/// The row of one function in a matrix. Every cell begins with the library in its initial state. A cell that leaves
/// memory, handles or idle sources behind fails and does not affect the next one.
class MatrixTest : public PlatformTest, public ::testing::WithParamInterface<Function> {
protected:
    /// Runs one cell. Every failure in it shows the cell's name.
    void cell(Tally &tally, const std::string &name, const std::function<void()> &body);
    const Function &function() const { return GetParam(); }

    void begin_run() override;
    void end_run() override;

    World world;
};

std::string name_of(const ::testing::TestParamInfo<Function> &info);

} // namespace kv::test::matrix
