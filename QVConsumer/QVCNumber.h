#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"

/// Reads numbers out of texts and answer values, the lenient way the service's
/// documents need: a text's leading number counts, the rest is ignored, and a
/// text without one counts as 0.
class QVCONSUMER_EXPORT QVCNumber {
public:
    /// The leading decimal integer of a text: leading blanks and one sign are
    /// allowed, reading stops at the first other character, no digits give 0,
    /// and values beyond the 64-bit range are clamped. Absent text gives 0.
    static std::int64_t integerValue(const std::optional<std::string>& text);

    /// The integer value of an answer value: a text as above, a number
    /// truncated toward zero and clamped (true counts 1). A JSON null, an
    /// array or an object has none.
    static std::optional<std::int64_t> integerValue(QVCAnswerValue value);

    /// The same read as a 32-bit integer: a text clamps to the 32-bit range, a
    /// number keeps its low 32 bits.
    static std::optional<std::int32_t> intValue(QVCAnswerValue value);

    /// The leading decimal number of a text (blanks, a sign, digits, a
    /// fraction, an exponent); 0 when the text does not begin with one or is absent.
    static double doubleValue(const std::optional<std::string>& text);

    /// Where the number of a text begins: past leading blanks (the C locale's
    /// white space) and at most one sign. The one scanner of such texts, for
    /// the numbers above and for truth values read from texts.
    struct Lead {
        std::size_t digits = 0;       ///< the first character past the blanks and the sign
        std::size_t significant = 0;  ///< the first character past those and any leading zeros
        bool negative = false;        ///< the sign was "-"
    };
    static Lead lead(std::string_view text);
};
