// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "values.hpp"

#include <cstdlib>
#include <functional>

namespace kv::test {

/// A method without delegates: its request, and the out values of its reply as bytes and as text.
struct GoldenMethod {
    std::string name;
    Bytes request;
    std::function<int(ProxyHandle, std::string &out)> call; // `out` receives the out value as text if the call wrote it
    Bytes outs;
    std::string out_text;
};

inline std::ostream &operator<<(std::ostream &out, const GoldenMethod &method)
{
    return out << method.name;
}

/// A method without out values.
inline GoldenMethod method(std::string name, Bytes request, int (*call)(ProxyHandle))
{
    return {std::move(name), std::move(request), [call](ProxyHandle h, std::string &) { return call(h); }, {}, ""};
}

/// Returns the out value as text if the call succeeded or changed it.
template <class Out>
std::string show_out(int result, Out value, Out before)
{
    return result == 0 || value != before ? shown(value) : "";
}

template <class Out, class Call>
GoldenMethod method_with_out(std::string name, Bytes request, Call call, Bytes outs, std::string out_text)
{
    auto show = [call](ProxyHandle h, std::string &out) {
        Out value{};
        const int result = call(h, &value);
        out = show_out(result, value, Out{});
        if constexpr (std::is_pointer_v<Out>)
            std::free(value);
        return result;
    };
    return {std::move(name), std::move(request), show, std::move(outs), std::move(out_text)};
}

/// Sends a record or an array, and destroys it.
template <auto Destroy, class Value, class Call>
int sent_by(Value value, Call call)
{
    const int result = call(value);
    EXPECT_EQ(Destroy(value), 0);
    return result;
}

std::vector<GoldenMethod> golden_setup_methods();
std::vector<GoldenMethod> golden_cloud_methods();

} // namespace kv::test
