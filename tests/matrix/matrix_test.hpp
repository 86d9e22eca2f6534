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

/// How many cells of a matrix were run, and how many of them passed.
struct Tally {
    int functions = 0;
    int cells = 0;
    int as_expected = 0;

    /// "179 functions x 13 agents = 2327 cells: 2327 as expected".
    void print(const std::string &other_axis) const;
};

/// One function's row of a matrix. Every cell begins with a library in which nothing was called yet. What a cell leaves
/// behind fails it and does not reach the next one.
class MatrixTest : public PlatformTest, public ::testing::WithParamInterface<Function> {
protected:
    /// Runs one cell; its name is shown with everything that fails in it.
    void cell(Tally &tally, const std::string &name, const std::function<void()> &body);
    const Function &function() const { return GetParam(); }

    void begin_run() override;
    void end_run() override;

    World world;
};

std::string name_of(const ::testing::TestParamInfo<Function> &info);

} // namespace kv::test::matrix
