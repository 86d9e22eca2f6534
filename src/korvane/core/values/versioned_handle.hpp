// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "common/owned.hpp"
#include "common/preamble.hpp"
#include "json_object.hpp"
#include "src/kv_master/wire.hpp"

/// Handles that hold a wire record for older agents and a JSON document for newer ones. The wire format is fixed when the
/// handle is created. A handle that is kept across an update of the agent can have the wrong one: every use refuses it
/// with a log line, so its contents are never misread.
///
/// A type of handle is declared as
///     struct korvane_cloud_info_s : kv::api::VersionedHandle<rpc_port_korvane_cloud_info_s, since(2, 0)> {...}
/// and owned as Owned<korvane_cloud_info_s>. Its release goes by its own format only.
namespace kv::api {

enum class WireFormat { record, json };

/// The wire format of the installed agent, for data whose JSON format begins with this version.
inline WireFormat format_of_agent(int json_since)
{
    return agent.current_version() < json_since ? WireFormat::record : WireFormat::json;
}

/// A versioned handle, whatever its record.
struct AnyVersionedHandle {
    AnyVersionedHandle(WireFormat fixed_format, int first_json_version)
        : format(fixed_format), json_since(first_json_version)
    {
    }

    const WireFormat format;
    const int json_since;
    master::Parcelable *any_record = nullptr; // in record format only
    Json json;                                // in JSON format only
};

template <class RecordBody, int JsonSince>
struct VersionedHandle : AnyVersionedHandle {
    using Record = RecordBody;

    static WireFormat of_agent() { return format_of_agent(JsonSince); }

    explicit VersionedHandle(WireFormat fixed_format) : AnyVersionedHandle(fixed_format, JsonSince) {}
    VersionedHandle(const VersionedHandle &) = delete;
    VersionedHandle &operator=(const VersionedHandle &) = delete;
    ~VersionedHandle()
    {
        if (any_record)
            destroy(record());
    }

    Record *record() const { return static_cast<Record *>(any_record); }
};

/// Moves the record or the document of a filled handle to a new one.
inline void move_contents(AnyVersionedHandle &from, AnyVersionedHandle &to)
{
    to.any_record = std::exchange(from.any_record, nullptr);
    to.json = std::move(from.json);
}

/// Refuses a handle whose format the installed agent does not use. Does nothing if an earlier check has failed, since it
/// reads the handle.
bool require_agents_format(Preamble &call, const AnyVersionedHandle *handle);

/// The function that creates the record of a handle, and its name for the log.
struct RecordMaker {
    master::Parcelable *(*create)();
    const char *name;
};

template <auto Create, class Record>
master::Parcelable *create_record_with()
{
    Record *record = nullptr;
    Create(&record);
    return record;
}

/// Gives a handle an empty record or an empty document.
bool fill_versioned(Preamble &call, AnyVersionedHandle &handle, const RecordMaker &maker);

/// Hands out a handle with the contents of `filled`. It is allocated last, so that a failure is reported for the contents.
template <class T>
int hand_out_versioned(Preamble &call, T &filled, T **out)
{
    T *made = make_zeroed<T>(filled.format);
    if (call.require_memory(made != nullptr).passed()) {
        move_contents(filled, *made);
        *out = made;
    }
    return call.result();
}

/// A create function after its checks.
template <class T>
int create_versioned(Preamble &call, T **out, const RecordMaker &maker)
{
    T filled{T::of_agent()};
    return fill_versioned(call, filled, maker) ? hand_out_versioned(call, filled, out) : call.result();
}

/// One field in both formats: its JSON key, and the function that sets it in the record. Without one the field exists
/// in JSON only.
template <class Record, class Value>
struct Field {
    const char *key;
    int (*set_in_record)(Record *record, Value value) = nullptr;
};

} // namespace kv::api
