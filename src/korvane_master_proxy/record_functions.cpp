// SPDX-License-Identifier: Apache-2.0
#include "record_functions.hpp"

namespace kv::proxy {

bool is_given(bool given, Caller caller)
{
    if (!given)
        log::error(caller)("Invalid parameter"_fmt);
    return given;
}

int set_items(AnyArray *array, const void *items, int count, const ArrayShape &shape, CloneNext clone_next,
              Caller caller)
{
    if (!is_given(array && items && count >= 0, caller))
        return -1;
    shape.clear(*array);
    array->count = count;
    for (; array->present < count; ++array->present) {
        if (!shape.reserve_next(*array)) {
            log::error(caller)("Out of memory"_fmt);
            return -1;
        }
        if (!clone_next(*array, items))
            return -1;
    }
    return 0;
}

int set_text(Parcelable *record, CText Parcelable::*field, const char *value, Caller caller)
{
    if (!is_given(record && value, caller))
        return -1;
    record->*field = CText::copy(value);
    if (record->*field)
        return 0;
    log::error(caller)("Failed to duplicate data"_fmt);
    return -1;
}

int set_number(Parcelable *record, int Parcelable::*field, int value, Caller caller)
{
    if (!is_given(record, caller))
        return -1;
    record->*field = value;
    return 0;
}

int get_text(Parcelable *record, CText Parcelable::*field, const char *name, char **out, Caller caller)
{
    if (!is_given(record && out, caller))
        return -1;
    if (!(record->*field)) {
        log::error(caller)("Invalid parameter: h->%s is NULL"_fmt, name);
        return -1;
    }
    CText copy = CText::copy((record->*field).get());
    if (!copy) {
        log::error(caller)("Failed to duplicate %s"_fmt, name);
        return -1;
    }
    *out = copy.release();
    return 0;
}

int get_number(Parcelable *record, int Parcelable::*field, int *out, Caller caller)
{
    if (!is_given(record && out, caller))
        return -1;
    *out = record->*field;
    return 0;
}

} // namespace kv::proxy
