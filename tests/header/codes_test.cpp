// SPDX-License-Identifier: Apache-2.0
#include "header_fixture.hpp"
#include "header_text.hpp"
#include "result_codes.hpp"

#include <algorithm>

namespace kv::test::header {
namespace {

using matrix::Codes;
using matrix::Function;
using matrix::Subject;

std::string shown_code(int code)
{
    for (const auto &[name, value] : result_codes())
        if (value == code)
            return name;
    return std::to_string(code);
}

/// A call with NULL where the function table has no such call.
int call_with_null(const std::string &name, matrix::World &world)
{
    static const std::map<std::string, int (*)()> calls = {
        {"korvane_initialize", [] { return korvane_initialize(nullptr, nullptr, nullptr); }},
        {"korvane_aplist_create", [] { return korvane_aplist_create(nullptr, 1); }},
        {"korvane_cloudinfo_create", [] { return korvane_cloudinfo_create(nullptr); }},
        {"korvane_platforminfo_create", [] { return korvane_platforminfo_create(nullptr); }},
        {"korvane_laststatusinfo_create", [] { return korvane_laststatusinfo_create(nullptr); }},
        {"korvane_device_profile_info_create", [] { return korvane_device_profile_info_create(nullptr); }},
        {"korvane_tnc_info_create", [] { return korvane_tnc_info_create(nullptr); }},
        {"korvane_get_sub_device_presence", [] { return korvane_get_sub_device_presence(nullptr, nullptr, nullptr); }},
    };
    const auto found = calls.find(name);
    return found == calls.end() ? matrix::function_named(name).call(world) : found->second();
}

/// Calls each function under every condition that decides about its result.
class CodesOfTheManual : public HeaderTest, public ::testing::WithParamInterface<Function> {
protected:
    const Function &function() const { return GetParam(); }

    void call(const std::function<void()> &condition, int agent = matrix::newest)
    {
        world.begin(function().subject, agent);
        int result = 1;
        world.with(function().subject, [&] {
            condition();
            result = function().call(world);
        });
        seen_.insert(shown_code(result));
        agent_is_installed();
        begin_afresh();
    }

    void call_with_null()
    {
        seen_.insert(shown_code(header::call_with_null(function().name, world)));
        begin_afresh();
    }

    /// The agent's usual reply with another result. korvane_initialize() has no port yet and sends no request.
    void call_with_agents_result(int result)
    {
        call([&] {
            if (!world.handle)
                return;
            auto &on_sent = platform.main_port().on_sent;
            on_sent = [usual = on_sent, result](Port &port, const Bytes &request) {
                usual(port, request);
                Bytes &reply = port.incoming.back();
                reply.resize(reply.size() - 4);
                reply = bytes(reply, i32(result));
            };
        });
    }

    void call_with_connect_failing(int code)
    {
        call([&] {
            if (!world.handle)
                platform.results["rpc_port_proxy_connect"] = code;
        });
    }

    /// The agent sends documents without members.
    void call_with_empty_document()
    {
        if (function().subject == Subject::ap_info || function().subject == Subject::token_info) {
            connect();
            matrix::Event empty = matrix::event_numbered(function().subject == Subject::ap_info ? 18 : 28);
            empty.values = function().subject == Subject::ap_info ? str("{}") : bytes(i32(0), str("{}"));
            const Bytes arriving = world.subscribe(empty);
            world.during_callback = [&] { seen_.insert(shown_code(function().call(world))); };
            world.arrives(arriving);
        } else if (function().subject == Subject::tcp_header) {
            connect();
            agent_replies(reply(0, str("{}")));
            ASSERT_EQ(korvane_get_tcp_header_info(world.handle, &world.tcp_header), KORVANE_ERROR_NONE);
            seen_.insert(shown_code(function().call(world)));
        } else if (function().name == "korvane_get_sub_device_presence_list") {
            connect();
            agent_replies(reply(0, str("[]")));
            seen_.insert(shown_code(function().call(world)));
        }
        begin_afresh();
    }

    void note_codes_without_memory()
    {
        for (const Codes &codes : {function().without_memory, function().without_memory_for_records.value_or(Codes{})})
            for (const int code : codes)
                seen_.insert(shown_code(code));
    }

    /// The function in the manual; empty if the header does not declare it.
    const Entry &entry() const
    {
        static const std::vector<Entry> all = HeaderText(KORVANE_HEADER).functions();
        static const Entry none;
        const auto found =
            std::find_if(all.begin(), all.end(), [&](const Entry &one) { return one.name == function().name; });
        return found == all.end() ? none : *found;
    }

    std::set<std::string> documented() const
    {
        std::set<std::string> names;
        for (const Code &code : entry().codes)
            names.insert(code.name);
        return names;
    }

    const std::set<std::string> &seen() const { return seen_; }

private:
    std::set<std::string> seen_;
};

INSTANTIATE_TEST_SUITE_P(Of, CodesOfTheManual, ::testing::ValuesIn(matrix::functions()),
                         [](const auto &row) { return row.param.name; });

TEST_P(CodesOfTheManual, AreThoseThatTheFunctionReturns)
{
    call([] {});
    call([] {}, matrix::absent);
    call([&] {
        platform.agent_version = "-1.0";
        kv::agent.version = 0;
    });
    call_with_null();
    call([&] { agent_is_being_installed(); });
    call_with_agents_result(-1);
    call_with_agents_result(-13);
    call([&] {
        if (world.handle)
            agent_never_replies();
    });
    for (const int code : {-1, -5, -13})
        call_with_connect_failing(code);
    call_with_empty_document();
    note_codes_without_memory();
    EXPECT_EQ(documented(), seen());
}

TEST_P(CodesOfTheManual, NameTheLowestAgentVersionThatTheLibraryAccepts)
{
    std::string lowest;
    for (const int agent : matrix::agents) {
        const int result = world.outcome_of(function(), agent).result;
        if (result == KORVANE_ERROR_NONE && lowest.empty())
            lowest = agent == matrix::unreadable ? "any" : matrix::shown_agent(agent);
        begin_afresh();
    }
    EXPECT_EQ(entry().lowest_version, lowest);
}

} // namespace
} // namespace kv::test::header
