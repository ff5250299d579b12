#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/QVCJSON.h"

/// Steps through service documents and builds request documents, raising
/// QVCException with a message that names the value at fault instead of
/// letting a wrong shape pass unnoticed. "what" arguments name the value in
/// messages, for example "consumerRs.states[3]".
class QVCDocument {
public:
    /// The member named key of object; null when it has none. Throws when
    /// object is not a JSON object.
    static const QVCJSON* valueForKey(const QVCJSON& object, const std::string& key, std::string_view what);

    /// Element index of array. Throws when array is not a JSON array or has
    /// no such element.
    static const QVCJSON& elementAtIndex(const QVCJSON& array, std::size_t index, std::string_view what);

    /// The number of elements of the list list names: 0 when it is missing
    /// (a null pointer). Throws when it is present but not a JSON array.
    static std::size_t elementCount(const QVCJSON* list, std::string_view what);

    /// Sets object[key] to value, as a dictionary literal does: an absent
    /// value throws "attempt to insert an absent value for key "<key>"".
    static void setObject(QVCJSON& object, const std::string& key, const std::optional<std::string>& value);
    static void setObject(QVCJSON& object, const std::string& key, const std::optional<QVCJSON>& value);

    /// "a string", "a number", "null", "an object", "an array", "a boolean".
    static const char* kindName(const QVCJSON& value);
};
