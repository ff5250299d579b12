#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/QVCJSON.h"

/// Reads numbers out of texts and JSON values, the lenient way the service's
/// documents need: a text's leading number counts, the rest is ignored, and a
/// text without one counts as 0.
class QVCNumber {
public:
    /// The leading decimal integer of a text: leading blanks and one sign are
    /// allowed, reading stops at the first other character, no digits give 0,
    /// and values beyond the 64-bit range are clamped. Absent text gives 0.
    static std::int64_t integerValue(const std::optional<std::string>& text);

    /// The integer value of a JSON value: a text as above, a number truncated
    /// toward zero (true counts 1), a missing value (null pointer) 0. A JSON
    /// null, an array or an object has none: throws QVCException naming what
    /// (for example "ageRangeTypes[2].sortOrder").
    static std::int64_t integerValue(const QVCJSON* value, std::string_view what);

    /// The same read as a 32-bit integer: a text clamps to the 32-bit range, a
    /// number keeps its low 32 bits.
    static std::int32_t intValue(const QVCJSON* value, std::string_view what);

    /// The leading decimal number of a text (blanks, a sign, digits, a
    /// fraction, an exponent); 0 when the text does not begin with one or is absent.
    static double doubleValue(const std::optional<std::string>& text);
    /// The double value of a JSON value: a text as above, a number as it is,
    /// missing or null 0. An array or an object throws QVCException naming what.
    static double doubleValue(const QVCJSON* value, std::string_view what);
};
