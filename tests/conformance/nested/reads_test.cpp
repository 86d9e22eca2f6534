// SPDX-License-Identifier: Apache-2.0
// Events that arrive inside the read of another event.
#include "nested_fixture.hpp"

namespace kv::test {
namespace {

/// While the library reads one event, the platform reports another one, whose callback ends the session.
class DuringTheReadOfAnEvent : public NestedTest {};

TEST_F(DuringTheReadOfAnEvent, TheEndOfTheSessionDropsTheEvent)
{
    for (const bool read_succeeds : {false, true})
        for (const bool begins_another : {false, true}) {
            SCOPED_TRACE(std::to_string(read_succeeds) + std::to_string(begins_another));
            begin();
            platform.finishes_after_destroy = read_succeeds;
            inside(Moment::read, [&](korvane_h ended) {
                EXPECT_EQ(korvane_deinitialize(ended), ok);
                if (begins_another) {
                    EXPECT_EQ(korvane_initialize(&handle, nullptr, nullptr), ok);
                }
                platform.log.clear();
            });
            platform.proxy().push_event(trigger_event);
            EXPECT_EQ(trigger.seen.size(), 1U);
            for (const LogLine &line : platform.log.lines())
                EXPECT_EQ(line.message.find("seq_id("), std::string::npos) << line;
            platform.finishes_after_destroy = false;
            if (begins_another) {
                EXPECT_EQ(korvane_deinitialize(handle), ok);
            }
        }
}

} // namespace
} // namespace kv::test
