#include "QVConsumer/QVCNumber.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
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

std::int64_t leadingInteger(std::string_view text) {
    const QVCNumber::Lead lead = QVCNumber::lead(text);
    const bool negative = lead.negative;
    std::size_t position = lead.significant;
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
    const QVCNumber::Lead lead = QVCNumber::lead(text);
    const bool negative = lead.negative;
    std::size_t position = lead.digits;
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

QVCNumber::Lead QVCNumber::lead(std::string_view text) {
    Lead lead;
    std::size_t position = 0;
    while (position < text.size() && std::isspace(static_cast<unsigned char>(text[position])) != 0) {
        ++position;
    }
    if (position < text.size() && (text[position] == '+' || text[position] == '-')) {
        lead.negative = text[position] == '-';
        ++position;
    }
    lead.digits = position;
    while (position < text.size() && text[position] == '0') {
        ++position;
    }
    lead.significant = position;
    return lead;
}

std::int64_t QVCNumber::integerValue(const std::optional<std::string>& text) {
    return text ? leadingInteger(*text) : 0;
}

double QVCNumber::doubleValue(const std::optional<std::string>& text) {
    return text ? leadingDouble(*text) : 0.0;
}

std::optional<std::int64_t> QVCNumber::integerValue(QVCAnswerValue value) {
    switch (value.type()) {
        case simdjson::dom::element_type::STRING: return leadingInteger(std::string_view(value));
        case simdjson::dom::element_type::INT64: return std::int64_t(value);
        case simdjson::dom::element_type::UINT64: {
            const std::uint64_t number = value;
            return number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())
                       ? std::numeric_limits<std::int64_t>::max()
                       : static_cast<std::int64_t>(number);
        }
        case simdjson::dom::element_type::DOUBLE: return clampToInt64(double(value));
        case simdjson::dom::element_type::BOOL: return bool(value) ? 1 : 0;
        default: return std::nullopt;
    }
}

std::optional<std::int32_t> QVCNumber::intValue(QVCAnswerValue value) {
    const auto wide = integerValue(value);
    if (!wide) {
        return std::nullopt;
    }
    if (value.is_string()) {
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(*wide, std::numeric_limits<std::int32_t>::min(),
                                                                  std::numeric_limits<std::int32_t>::max()));
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(*wide)));
}
