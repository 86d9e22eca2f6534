// SPDX-License-Identifier: Apache-2.0
#include "matrix_test.hpp"

#include "common/agent_state.hpp"

#include <iostream>

namespace kv::test::matrix {

namespace {

int failed_checks()
{
    const ::testing::TestResult &result = *::testing::UnitTest::GetInstance()->current_test_info()->result();
    int count = 0;
    for (int i = 0; i < result.total_part_count(); ++i)
        count += result.GetTestPartResult(i).failed() ? 1 : 0;
    return count;
}

} // namespace

void Tally::print(const std::string &other_axis) const
{
    std::cout << "[  MATRIX  ] " << functions << (functions == 1 ? " function x " : " functions x ") << other_axis
              << " = " << cells << " cells: " << as_expected << " as expected" << std::endl;
}

void MatrixTest::cell(Tally &tally, const std::string &name, const std::function<void()> &body)
{
    SCOPED_TRACE(name);
    const int before = failed_checks();
    ++tally.cells;
    body();
    end_run();
    begin_run();
    if (failed_checks() == before)
        ++tally.as_expected;
}

void MatrixTest::begin_run()
{
    PlatformTest::begin_run();
    kv::agent = {};
}

void MatrixTest::end_run()
{
    allocs::stop_failing();
    platform.faults.disarm();
    world.end();
    PlatformTest::end_run();
}

std::string name_of(const ::testing::TestParamInfo<Function> &info)
{
    return info.param.name;
}

} // namespace kv::test::matrix
