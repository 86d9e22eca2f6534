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

template <class D, class Values>
struct Maker;

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

template <class D, class... E>
struct Maker<D, describe::In<E...>> {
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

    static Event make(const AnyDelegate &delegate, const cJSON *values)
    {
        if (!cJSON_IsArray(values) || cJSON_GetArraySize(values) != static_cast<int>(sizeof...(E)))
            throw std::invalid_argument{std::string{D::name} + " carries " + form()};
        [[maybe_unused]] const cJSON *next = values->child;
        [[maybe_unused]] auto take = [&] { return std::exchange(next, next->next); };
        // Braces, because the values must be taken in their order.
        std::tuple<typename Wire<E>::Held...> held{from_json(E{}, take())...};
        return std::apply([&](auto &...value) { return EventOf<D>::make(delegate, Wire<E>::view(value)...); }, held);
    }
};

template <class D, class M>
DelegateEntry entry_of()
{
    return {D::name, D::id, since_of<D>(), M::form(), M::value_shapes, M::sample_values, M::make};
}

template <class... D>
std::vector<DelegateEntry> entries_of(describe::List<D...>)
{
    return {entry_of<D, Maker<D, typename D::values>>()...};
}

} // namespace

const std::vector<DelegateEntry> &all_delegates()
{
    static const std::vector<DelegateEntry> delegates = entries_of(master::Delegates{});
    return delegates;
}

const DelegateEntry *find_delegate(const std::string &name)
{
    const auto &delegates = all_delegates();
    auto found = std::find_if(delegates.begin(), delegates.end(),
                              [&](const DelegateEntry &delegate) { return name == delegate.name; });
    return found == delegates.end() ? nullptr : &*found;
}

} // namespace kv::virtual_agent
