#include "QVConsumer/QVCNumber.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"

namespace {

bool isBlank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t skipBlanks(std::string_view text) {
    std::size_t position = 0;
    while (position < text.size() && isBlank(text[position])) {
        ++position;
    }
    return position;
}

std::int64_t clampToInt64(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= 9223372036854775807.0) {
        return std::numeric_limits<std::int64_t>::max();
    }
    if (value <= -9223372036854775808.0) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(value);
}

[[noreturn]] void throwNoNumber(const QVCJSON& value, std::string_view what, const char* kind) {
    throw QVCException(std::string(what) + " is " + QVCDocument::kindName(value) + " and has no " + kind + " value");
}

std::int64_t leadingInteger(std::string_view text) {
    std::size_t position = skipBlanks(text);
    bool negative = false;
    if (position < text.size() && (text[position] == '+' || text[position] == '-')) {
        negative = text[position] == '-';
        ++position;
    }
    // Accumulate as a negative number so that the minimum fits, then clamp.
    const std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    std::int64_t value = 0;
    bool overflow = false;
    for (; position < text.size() && isDigit(text[position]); ++position) {
        int digit = text[position] - '0';
        if (value < (lowest + digit) / 10) {
            overflow = true;
        } else {
            value = value * 10 - digit;
        }
    }
    if (overflow) {
        return negative ? lowest : std::numeric_limits<std::int64_t>::max();
    }
    if (negative) {
        return value;
    }
    return value == lowest ? std::numeric_limits<std::int64_t>::max() : -value;
}

double leadingDouble(std::string_view text) {
    std::size_t start = skipBlanks(text);
    std::size_t position = start;
    bool negative = false;
    if (position < text.size() && (text[position] == '+' || text[position] == '-')) {
        negative = text[position] == '-';
        ++position;
    }
    // Only a plain decimal number counts: digits with an optional fraction and exponent.
    std::size_t numberStart = position;
    std::size_t digits = 0;
    while (position < text.size() && isDigit(text[position])) {
        ++position;
        ++digits;
    }
    if (position < text.size() && text[position] == '.') {
        ++position;
        while (position < text.size() && isDigit(text[position])) {
            ++position;
            ++digits;
        }
    }
    if (digits == 0) {
        return 0.0;
    }
    bool tinyExponent = false;
    if (position + 1 < text.size() && (text[position] == 'e' || text[position] == 'E')) {
        tinyExponent = text[position + 1] == '-';
    }
    double value = 0.0;
    auto result =
        std::from_chars(text.data() + numberStart, text.data() + text.size(), value, std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range) {
        value = tinyExponent ? 0.0 : std::numeric_limits<double>::infinity();
    } else if (result.ec != std::errc()) {
        return 0.0;
    }
    return negative ? -value : value;
}

}  // namespace

std::int64_t QVCNumber::integerValue(const std::optional<std::string>& text) {
    return text ? leadingInteger(*text) : 0;
}

double QVCNumber::doubleValue(const std::optional<std::string>& text) {
    return text ? leadingDouble(*text) : 0.0;
}

std::int64_t QVCNumber::integerValue(const QVCJSON* value, std::string_view what) {
    if (value == nullptr) {
        return 0;
    }
    switch (value->type()) {
        case QVCJSON::value_t::string: return leadingInteger(value->get_ref<const std::string&>());
        case QVCJSON::value_t::number_integer: return value->get<std::int64_t>();
        case QVCJSON::value_t::number_unsigned: {
            auto number = value->get<std::uint64_t>();
            return number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())
                       ? std::numeric_limits<std::int64_t>::max()
                       : static_cast<std::int64_t>(number);
        }
        case QVCJSON::value_t::number_float: return clampToInt64(value->get<double>());
        case QVCJSON::value_t::boolean: return value->get<bool>() ? 1 : 0;
        default: throwNoNumber(*value, what, "integer");
    }
}

std::int32_t QVCNumber::intValue(const QVCJSON* value, std::string_view what) {
    std::int64_t wide = integerValue(value, what);
    if (value != nullptr && value->is_string()) {
        if (wide > std::numeric_limits<std::int32_t>::max()) {
            return std::numeric_limits<std::int32_t>::max();
        }
        if (wide < std::numeric_limits<std::int32_t>::min()) {
            return std::numeric_limits<std::int32_t>::min();
        }
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(wide)));
}

double QVCNumber::doubleValue(const QVCJSON* value, std::string_view what) {
    if (value == nullptr || value->is_null()) {
        return 0.0;
    }
    if (value->is_string()) {
        return leadingDouble(value->get_ref<const std::string&>());
    }
    if (value->is_number()) {
        return value->get<double>();
    }
    if (value->is_boolean()) {
        return value->get<bool>() ? 1.0 : 0.0;
    }
    throwNoNumber(*value, what, "numeric");
}
