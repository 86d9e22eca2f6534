// SPDX-License-Identifier: Apache-2.0
// Every function that asks the agent is interrupted inside its send or its wait by every callback, which performs one of
// the actions that an application may take there.
#include "matrix_test.hpp"

#include <algorithm>
#include <array>

namespace kv::test::matrix {
namespace {

constexpr int io_error = KORVANE_ERROR_IO_ERROR;
constexpr int denied = KORVANE_ERROR_PERMISSION_DENIED;
constexpr int refusal = -13; // the agent's result that becomes `denied`
constexpr int not_run = 1;   // result of a callback's call when no callback ran

/// The event that the platform raises, which determines the callback that runs.
enum class Source {
    event,        // an event of a delegate that was registered before the call
    own_answer,   // the event of the interrupted one-shot request
    disconnected, // the connection status callback runs
    main_loop,    // an event whose callback runs the main loop, where an I/O error notice is due
};

struct Trigger {
    Source source;
    const Event *event = nullptr; // the row of `event` and `own_answer`

    std::string name() const
    {
        switch (source) {
        case Source::event: return event->name;
        case Source::own_answer: return "its own answer";
        case Source::disconnected: return "disconnected";
        default: return "the I/O error callback";
        }
    }
    bool is_registration() const { return source == Source::event && !once(*event); }
    bool is_one_shot() const { return event && once(*event); }
    /// Only agents without the newer form of the access point send the older one.
    int agent() const { return event && event->id == 7 ? 1002 : newest; }
    std::string unset_function() const
    {
        return source == Source::main_loop ? "korvane_unset_rpc_io_error_cb"
                                           : "korvane_un" + event->asked_by.substr(sizeof "korvane_" - 1);
    }
    std::string set_function() const
    {
        return source == Source::main_loop ? "korvane_set_rpc_io_error_cb" : event->asked_by;
    }
};

std::vector<Trigger> all_triggers()
{
    std::vector<Trigger> triggers;
    for (const Event &event : events())
        triggers.push_back({.source = Source::event, .event = &event});
    for (const Event &event : events())
        if (once(event))
            triggers.push_back({.source = Source::own_answer, .event = &event});
    triggers.push_back({.source = Source::disconnected});
    triggers.push_back({.source = Source::main_loop});
    return triggers;
}

/// The effect of a callback on the session.
enum class Effect { ends_it, begins_another, unsets, sets_again, asks, repeats };

struct Cell;

struct Action {
    std::string name;
    Effect effect;
    bool (*possible)(const Trigger &trigger);
    int (*act)(Cell &cell);

    bool ends_session() const { return effect == Effect::ends_it || effect == Effect::begins_another; }
};

/// The moments at which the events are raised.
struct Position {
    std::string name;
    Moment moment;
    /// Whether the trigger and `disconnected` are raised again inside the destruction of the proxy.
    bool raises_inside_destroy = false;
};

const Position positions[] = {
    {.name = "inside the send", .moment = Moment::send},
    {.name = "inside the wait", .moment = Moment::wait},
    {.name = "inside the wait and inside destroy", .moment = Moment::wait, .raises_inside_destroy = true},
};

struct Cell {
    const Function &function;
    const Trigger &trigger;
    const Action &action;
    const Position &position;
    World &world;

    Bytes parcel = {}; // the parcel of the trigger's event
    int inner = not_run;
    int notices = 0; // calls of the I/O error callback, unless it is the trigger
};

void count_notice(korvane_h, void *notices)
{
    ++*static_cast<int *>(notices);
}

int begin_another(Cell &cell)
{
    const int result = korvane_deinitialize(cell.world.handle);
    if (result != ok)
        return result;
    korvane_initialize(&cell.world.handle, count_disconnected, &cell.world);
    return korvane_set_rpc_io_error_cb(cell.world.handle, count_notice, &cell.notices);
}

int call_named(Cell &cell, const std::string &name)
{
    return cell.world.call_inside_another(function_named(name));
}

bool always(const Trigger &)
{
    return true;
}

const Action actions[] = {
    {.name = "deinitializes",
     .effect = Effect::ends_it,
     .possible = always,
     .act = [](Cell &cell) { return released(korvane_deinitialize, cell.world.handle); }},
    {.name = "deinitializes and initializes",
     .effect = Effect::begins_another,
     .possible = always,
     .act = begin_another},
    {.name = "deinitializes, initializes and connects",
     .effect = Effect::begins_another,
     .possible = always,
     .act =
         [](Cell &cell) {
             const int result = begin_another(cell);
             return result == ok ? cell.world.use_once_more() : result;
         }},
    {.name = "unsets itself",
     .effect = Effect::unsets,
     .possible =
         [](const Trigger &trigger) { return trigger.is_registration() || trigger.source == Source::main_loop; },
     .act = [](Cell &cell) { return call_named(cell, cell.trigger.unset_function()); }},
    {.name = "sets itself again",
     .effect = Effect::sets_again,
     .possible = [](const Trigger &trigger) { return trigger.source != Source::disconnected; },
     .act = [](Cell &cell) { return call_named(cell, cell.trigger.set_function()); }},
    {.name = "calls the same function",
     .effect = Effect::asks,
     .possible = always,
     .act = [](Cell &cell) { return cell.world.call_inside_another(cell.function); }},
    {.name = "calls another function",
     .effect = Effect::asks,
     .possible = always,
     .act =
         [](Cell &cell) {
             return call_named(cell, cell.function.name == "korvane_get_device_id" ? "korvane_get_easysetup_status"
                                                                                   : "korvane_get_device_id");
         }},
    {.name = "gets its event again",
     .effect = Effect::repeats,
     .possible = [](const Trigger &trigger) { return trigger.event != nullptr; },
     .act =
         [](Cell &cell) {
             cell.world.arrives(cell.parcel);
             return ok;
         }},
};

/// The expected results of a cell, from the contract for calls inside calls.
struct Promise {
    int outer = ok;
    int inner = not_run;
    int callbacks = 0;
    std::vector<int> methods; // methods of the requests to the agent of the first session, in order
    int notices = 0;
};

/// The event whose callback runs the main loop. The interrupted function must not end its registration.
const Event &event_that_runs_the_loop(const Function &function)
{
    return event_numbered(function.name.ends_with("set_user_confirm_cb") ? 3 : 2);
}

/// Whether the function ends or replaces the registration of the trigger before it sends its request.
bool ends(const Function &function, const Trigger &trigger)
{
    return trigger.is_registration() &&
           (function.name == trigger.set_function() || function.name == trigger.unset_function());
}

/// The method of the request that the callback's call sends; null if it sends none.
std::optional<int> inner_method(const Cell &cell)
{
    std::string name;
    if (cell.action.effect == Effect::unsets)
        name = cell.trigger.unset_function();
    else if (cell.action.effect == Effect::sets_again)
        name = cell.trigger.set_function();
    else if (cell.action.effect == Effect::asks)
        name = cell.action.name == "calls the same function"   ? cell.function.name
               : cell.function.name == "korvane_get_device_id" ? "korvane_get_easysetup_status"
                                                               : "korvane_get_device_id";
    if (name.empty() || cell.trigger.source == Source::disconnected)
        return std::nullopt;
    const auto request = request_with(function_named(name), cell.trigger.agent());
    return request ? std::optional(request->method) : std::nullopt;
}

/// The agent refuses one of the two requests, so that the test detects a reply that reaches the wrong call.
Promise promise_of(const Cell &cell, bool refuses_outer)
{
    Promise promise;
    const int method = request_with(cell.function, cell.trigger.agent())->method;
    const bool disconnected = cell.trigger.source == Source::disconnected;
    const bool runs = !ends(cell.function, cell.trigger);
    const auto inner = runs ? inner_method(cell) : std::nullopt;
    const bool in_send = cell.position.moment == Moment::send;

    if (runs) {
        promise.callbacks = cell.action.effect == Effect::repeats && cell.trigger.is_registration() ? 2 : 1;
        promise.inner = inner && !refuses_outer                              ? denied
                        : disconnected && cell.action.effect == Effect::asks ? failed
                                                                             : ok;
    }
    if (runs && cell.action.ends_session())
        promise.outer = failed;
    else if (disconnected)
        promise.outer = io_error;
    else
        promise.outer = refuses_outer ? denied : ok;
    promise.notices = promise.outer == io_error ? 1 : 0;

    const bool outer_arrives = !in_send || !(disconnected || (runs && cell.action.ends_session()));
    if (in_send && inner)
        promise.methods.push_back(*inner);
    if (outer_arrives)
        promise.methods.push_back(method);
    if (!in_send && inner)
        promise.methods.push_back(*inner);
    return promise;
}

/// Calls a function inside which the platform raises events.
class InterruptedByEveryCallback : public MatrixTest {
protected:
    static void TearDownTestSuite()
    {
        tally.print(std::to_string(all_triggers().size()) + " callbacks x " + std::to_string(std::size(actions)) +
                    " actions x " + std::to_string(std::size(positions)) + " positions, where they apply");
    }

    /// Prepares the session for the trigger; returns what makes its callback run.
    Proxy::Raise prepare(Cell &cell)
    {
        switch (cell.trigger.source) {
        case Source::event: cell.parcel = world.subscribe(*cell.trigger.event); return received(cell.parcel);
        case Source::own_answer:
            return [this, &cell](Proxy &proxy) {
                cell.parcel = world.event_for_newest_delegate(*cell.trigger.event);
                proxy.push_event(cell.parcel);
            };
        case Source::disconnected: return disconnected();
        default: return prepare_notice(cell);
        }
    }

    /// Schedules an I/O error notice, and registers a callback that runs the main loop and so delivers it.
    Proxy::Raise prepare_notice(Cell &cell)
    {
        EXPECT_EQ(korvane_set_rpc_io_error_cb(world.handle, on_event, &world), ok);
        platform.main_port().send_results = {-5};
        EXPECT_EQ(korvane_stop(world.handle), io_error);
        const Event &event = event_that_runs_the_loop(cell.function);
        const Bytes parcel = world.subscribe(event);
        return [this, parcel](Proxy &proxy) {
            world.callbacks = 0;
            std::function<void()> act = std::exchange(world.during_callback, nullptr);
            world.during_callback = [this, act] {
                world.callbacks = 0; // the callback that runs the loop is not counted
                world.during_callback = act;
                run_main_loop();
            };
            proxy.push_event(parcel);
        };
    }

    void interrupt(Cell &cell, bool refuses_outer)
    {
        const Promise promise = promise_of(cell, refuses_outer);
        world.begin(function().subject, cell.trigger.agent());
        const Proxy::Raise raise = prepare(cell);
        if (cell.trigger.source != Source::main_loop) {
            ASSERT_EQ(korvane_set_rpc_io_error_cb(world.handle, count_notice, &cell.notices), ok);
        }
        const std::shared_ptr<Proxy> proxy = platform.proxies().back();
        proxy->main_port.sent.clear();
        proxy->raise_inside(cell.position.moment, raise);
        if (cell.position.raises_inside_destroy) {
            if (cell.trigger.source != Source::main_loop)
                proxy->raise_inside(Moment::destroy, raise);
            proxy->raise_inside(Moment::destroy, disconnected());
        }
        world.callbacks = 0;
        world.during_callback = [&] {
            cell.inner = not_run;
            cell.inner = cell.action.act(cell);
        };
        const bool two_requests = promise.methods.size() == 2;
        if (cell.position.moment == Moment::send && two_requests)
            world.next_results = {refuses_outer ? 0 : refusal, refuses_outer ? refusal : 0};
        else
            world.next_results = {refuses_outer ? refusal : 0, refuses_outer ? 0 : refusal};
        if (!two_requests)
            world.next_results.resize(cell.action.ends_session() ? 0 : 1);

        const int outer = function().call(world);

        world.next_results.clear();
        EXPECT_EQ(outer, promise.outer);
        EXPECT_EQ(cell.inner, promise.inner);
        EXPECT_EQ(world.callbacks, promise.callbacks);
        EXPECT_TRUE(outer == ok || world.outs_untouched()) << "a failed call changed an out argument";
        EXPECT_EQ(methods_of(*proxy), promise.methods);
        if (Proxy &newest_proxy = platform.proxy(); &newest_proxy != proxy.get()) {
            const bool connected = world.connected(); // if so, the callback has also called korvane_stop()
            EXPECT_EQ(methods_of(newest_proxy), connected ? (std::vector{39, 2, 4}) : std::vector<int>{});
        }
        world.during_callback = nullptr;
        run_main_loop();
        EXPECT_EQ(cell.notices, promise.notices);
        expect_usable(cell);
    }

    static std::vector<int> methods_of(const Proxy &proxy)
    {
        std::vector<int> methods;
        for (const Bytes &request : proxy.main_port.sent)
            methods.push_back(request.at(0));
        return methods;
    }

    /// The session works after the outer call, the registration of the trigger included.
    void expect_usable(Cell &cell)
    {
        if (cell.trigger.source == Source::disconnected && !cell.action.ends_session()) {
            EXPECT_EQ(released(korvane_deinitialize, world.handle), ok);
        } else if (cell.trigger.event && !cell.action.ends_session() && cell.action.effect != Effect::unsets &&
                   cell.action.effect != Effect::sets_again && cell.inner != not_run) {
            const int before = world.callbacks;
            world.arrives(cell.parcel);
            EXPECT_EQ(world.callbacks - before, cell.trigger.is_registration() ? 1 : 0) << "the event, once more";
        }
        EXPECT_EQ(world.use_once_more(), ok);
        EXPECT_EQ(world.use_once_more(), ok);
    }

    static inline Tally tally;
};

std::vector<Function> functions_that_ask()
{
    std::vector<Function> asking;
    for (const Function &function : functions())
        if (!function.requests.empty())
            asking.push_back(function);
    return asking;
}

INSTANTIATE_TEST_SUITE_P(Call, InterruptedByEveryCallback, ::testing::ValuesIn(functions_that_ask()), name_of);

TEST_P(InterruptedByEveryCallback, HasItsOwnResultAndLeavesTheLibraryUsable)
{
    ++tally.functions;
    for (const Trigger &trigger : all_triggers()) {
        if (trigger.source == Source::own_answer && function().name != trigger.event->asked_by)
            continue;
        if (result_with(function(), trigger.agent()) != ok)
            continue; // agents that send this event do not support the function
        for (const Action &action : actions)
            for (const Position &position : positions) {
                if (!action.possible(trigger) || (position.raises_inside_destroy && !action.ends_session()))
                    continue;
                for (const bool refuses_outer : {false, true}) {
                    if (refuses_outer && action.ends_session())
                        continue;
                    Cell made{function(), trigger, action, position, world};
                    cell(tally,
                         trigger.name() + " " + position.name + ", whose callback " + action.name +
                             (refuses_outer ? "; the agent refuses" : ""),
                         [&] { interrupt(made, refuses_outer); });
                }
            }
    }
}

/// korvane_deinitialize() ignores the events that the platform raises while it destroys the proxy.
class EndsWithEveryCallback : public InterruptedByEveryCallback {
protected:
    static void TearDownTestSuite() { tally.print(std::to_string(events().size()) + " callbacks inside destroy"); }

    static inline Tally tally;
};

INSTANTIATE_TEST_SUITE_P(Call, EndsWithEveryCallback, ::testing::Values(function_named("korvane_deinitialize")),
                         name_of);

TEST_P(EndsWithEveryCallback, IgnoresEventsInsideDestroy)
{
    ++tally.functions;
    for (const Event &event : events())
        cell(tally, event.name, [&] {
            world.begin(Subject::library, Trigger{.source = Source::event, .event = &event}.agent());
            platform.proxy().raise_inside(Moment::destroy, received(world.subscribe(event)));
            platform.proxy().raise_inside(Moment::destroy, disconnected());
            world.callbacks = 0;
            world.during_callback = [this] { korvane_deinitialize(world.handle); };
            EXPECT_EQ(function().call(world), ok);
            EXPECT_EQ(world.callbacks, 0);
            world.during_callback = nullptr;
            EXPECT_EQ(world.use_once_more(), ok);
        });
}

} // namespace
} // namespace kv::test::matrix
