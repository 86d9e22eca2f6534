// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "text_arguments.hpp"

#include <cstdlib>

/// Handles of any type that outlive their agent: functions that create, use and destroy them.
namespace kv::test {

inline constexpr int ok = KORVANE_ERROR_NONE;
inline constexpr int refused = KORVANE_ERROR_INVALID_PARAMETER;
inline constexpr int too_old = KORVANE_ERROR_AGENT_VERSION_LOWER;

/// A function that takes the handle, and the library's handle if it needs it.
struct Use {
    std::string function;
    int minimum_version;
    int (*call)(korvane_h handle, void *object);
};

template <class Object, int (*Set)(Object, const char *)>
int set_text(korvane_h, void *object)
{
    return Set(static_cast<Object>(object), "other");
}

template <class Object, int (*Send)(korvane_h, Object)>
int send(korvane_h handle, void *object)
{
    return Send(handle, static_cast<Object>(object));
}

template <int (*Set)(korvane_aplist_h, int, const char *)>
int set_entry_text(korvane_h, void *list)
{
    return Set(static_cast<korvane_aplist_h>(list), 0, "other");
}

template <int (*Set)(korvane_aplist_h, int, int)>
int set_entry_number(korvane_h, void *list)
{
    return Set(static_cast<korvane_aplist_h>(list), 0, 99);
}

template <class Object, int (*Get)(Object, char **)>
int get_text(korvane_h, void *object)
{
    char *text = nullptr;
    const int code = Get(static_cast<Object>(object), &text);
    EXPECT_TRUE(code == ok || text == nullptr) << "a refused getter changed its out argument";
    free(text);
    return code;
}

template <class Object, int (*Get)(Object, int *)>
int get_number(korvane_h, void *object)
{
    int number = 4711;
    const int code = Get(static_cast<Object>(object), &number);
    EXPECT_TRUE(code == ok || number == 4711) << "a refused getter changed its out argument";
    return code;
}

template <class Object, int (*Create)(Object *), int (*Fill)(Object, const char *)>
void *made()
{
    Object object = nullptr;
    EXPECT_EQ(Create(&object), ok);
    EXPECT_EQ(Fill(object, "mine"), ok);
    return object;
}

template <class Object, int (*Destroy)(Object)>
void ended(void *object)
{
    EXPECT_EQ(Destroy(static_cast<Object>(object)), ok);
}

/// An update replaces the agent between two calls of the application.
class Update : public SetupTest {
protected:
    void updated_to(const std::string &version)
    {
        agent_becomes(version);
        platform.main_port().sent.clear();
        ASSERT_EQ(korvane_cloudinfo_destroy(nullptr), refused); // makes the library read the version
        platform.log.clear();
    }

    /// Expects that every use is refused unsent, with the reason in the log.
    void expect_refused(const std::vector<Use> &uses, void *object, const std::string &form, int version)
    {
        for (const Use &use : uses) {
            SCOPED_TRACE(use.function);
            platform.log.clear();
            const bool known = version >= use.minimum_version;
            EXPECT_EQ(use.call(handle, object), known ? refused : too_old);
            const std::string reason = known ? "handle was made for another agent version, in [" + form + "] form"
                                             : std::string("agent version is lower!!");
            EXPECT_EQ(platform.log.errors(), (LogLines{api_error(use.function, reason)}));
        }
        EXPECT_TRUE(sent().empty());
    }
};

} // namespace kv::test
