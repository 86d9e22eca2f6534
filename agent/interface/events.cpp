// SPDX-License-Identifier: Apache-2.0
#include "events.hpp"

#include "from_json.hpp"
#include "samples.hpp"
#include "shapes.hpp"

#include <algorithm>
#include <limits>
#include <tuple>

namespace kv::virtual_agent {

namespace {

template <class D, class... E>
constexpr bool takes(describe::In<E...>)
{
    return (std::is_same_v<E, describe::Callback<D>> || ...);
}

template <class D>
constexpr int since_of()
{
    int lowest = std::numeric_limits<int>::max();
    describe::for_each(master::Methods{}, [&]<class M>() {
        if (takes<D>(typename M::in{}))
            lowest = std::min(lowest, M::since);
    });
    return lowest;
}

/// The text and records that decoded values refer to.
template <class... E>
struct Decoded {
    std::tuple<typename Wire<E>::Received...> held;
};

template <class D, class... E>
class DecodedValues final : private Decoded<E...>, public ValuesOf<D> {
public:
    explicit DecodedValues(std::tuple<typename Wire<E>::Received...> decoded)
        : Decoded<E...>{std::move(decoded)}, ValuesOf<D>{std::apply(
                                                 [](const auto &...value) {
                                                     return ValuesOf<D>{Wire<E>::view(value)...};
                                                 },
                                                 Decoded<E...>::held)}
    {
    }
};

template <class D, class Values>
struct Row;

template <class D, class... E>
struct Row<D, describe::In<E...>> {
    static std::string form()
    {
        std::string names;
        ((names += (names.empty() ? "" : ", ") + std::string{E::name}), ...);
        return "[" + names + "]";
    }

    static Json sample_values()
    {
        Json values = Json::array();
        (values.append(sample(E{})), ...);
        return values;
    }

    static Json value_shapes() { return shapes(describe::In<E...>{}); }

    static std::unique_ptr<EventValues> decode(const cJSON *values)
    {
        if (!cJSON_IsArray(values) || cJSON_GetArraySize(values) != static_cast<int>(sizeof...(E)))
            throw std::invalid_argument{std::string{D::name} + " carries " + form()};
        [[maybe_unused]] const cJSON *next = values->child;
        [[maybe_unused]] auto take = [&] { return std::exchange(next, next->next); };
        // Braces fix the order of evaluation.
        return std::make_unique<DecodedValues<D, E...>>(
            std::tuple<typename Wire<E>::Received...>{from_json(E{}, take())...});
    }
};

template <class D, class M>
EventEntry entry_of()
{
    return {D::name, D::id, since_of<D>(), M::form(), M::value_shapes, M::sample_values, M::decode};
}

template <class... D>
std::vector<EventEntry> entries_of(describe::List<D...>)
{
    return {entry_of<D, Row<D, typename D::values>>()...};
}

} // namespace

Event event_for(const AnyDelegate &delegate, const EventValues &values)
{
    return {delegate, values.name(), std::make_shared<const Json>(values.shown()), values.parcel_for(delegate)};
}

const std::vector<EventEntry> &all_events()
{
    static const std::vector<EventEntry> delegates = entries_of(master::Delegates{});
    return delegates;
}

const EventEntry *find_event(const std::string &name)
{
    const auto &delegates = all_events();
    auto found = std::find_if(delegates.begin(), delegates.end(),
                              [&](const EventEntry &delegate) { return name == delegate.name; });
    return found == delegates.end() ? nullptr : &*found;
}

} // namespace kv::virtual_agent
