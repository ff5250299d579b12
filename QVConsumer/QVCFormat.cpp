#include "QVConsumer/QVCFormat.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <ctime>

namespace {

/// The length of the white-space character that starts at position, 0 when
/// none does: the ASCII blanks (space, tab, line feed, vertical tab, form
/// feed, carriage return) and the Unicode white space in UTF-8.
std::size_t whiteSpaceLength(const std::string& text, std::size_t position) {
    auto byte = [&](std::size_t offset) {
        return position + offset < text.size() ? static_cast<unsigned char>(text[position + offset]) : 0U;
    };
    const unsigned first = byte(0);
    if (first == ' ' || (first >= '\t' && first <= '\r')) {
        return 1;
    }
    const unsigned second = byte(1);
    const unsigned third = byte(2);
    if (first == 0xC2 && (second == 0x85 || second == 0xA0)) {
        return 2;
    }
    if (first == 0xE1 && second == 0x9A && third == 0x80) {
        return 3;
    }
    if (first == 0xE2 && second == 0x80 && (third <= 0x8A || third == 0xA8 || third == 0xA9 || third == 0xAF)) {
        return 3;
    }
    if ((first == 0xE2 && second == 0x81 && third == 0x9F) || (first == 0xE3 && second == 0x80 && third == 0x80)) {
        return 3;
    }
    return 0;
}

}  // namespace

std::string QVCFormat::object(const QVCJSON& value) {
    switch (value.type()) {
        case QVCJSON::value_t::string: return value.get_ref<const std::string&>();
        case QVCJSON::value_t::number_integer: return std::to_string(value.get<std::int64_t>());
        case QVCJSON::value_t::number_unsigned: return std::to_string(value.get<std::uint64_t>());
        case QVCJSON::value_t::number_float: return number(value.get<double>());
        case QVCJSON::value_t::boolean: return value.get<bool>() ? "1" : "0";
        case QVCJSON::value_t::null:
        case QVCJSON::value_t::discarded: return "(null)";
        default: return value.dump();
    }
}

std::string QVCFormat::object(const QVCJSON* value) {
    return value == nullptr ? "(null)" : object(*value);
}

std::string QVCFormat::object(const std::optional<std::string>& text) {
    return text ? *text : "(null)";
}

std::string QVCFormat::object(const std::optional<QVCJSON>& value) {
    return value ? object(*value) : "(null)";
}

std::string QVCFormat::object(QVCAnswerValue value) {
    switch (value.type()) {
        case simdjson::dom::element_type::STRING: return std::string(std::string_view(value));
        case simdjson::dom::element_type::INT64: return std::to_string(std::int64_t(value));
        case simdjson::dom::element_type::UINT64: return std::to_string(std::uint64_t(value));
        case simdjson::dom::element_type::DOUBLE: return number(double(value));
        case simdjson::dom::element_type::BOOL: return bool(value) ? "1" : "0";
        case simdjson::dom::element_type::NULL_VALUE: return "(null)";
        default: return object(QVCAnswerDocument::toJSON(value));  // an array or object: its JSON text
    }
}

std::string QVCFormat::number(double value) {
    // The shortest digits that read back as the same double, written as
    // decimal text while the exponent is below 17 (20.0 gives "20", 0.0001
    // "0.0001") and in exponent form beyond ("1e+21", "1e-05"), as "%.17g"
    // switches.
    char text[40];
    const auto shortest = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    const char* begin = text;
    const char* end = shortest.ptr;
    const char* mark = std::find(begin, end, 'e');  // "2e+01": digits, then the exponent
    const int digits = static_cast<int>(std::count_if(begin, mark, [](char c) { return c >= '0' && c <= '9'; }));
    const char* exponentText = mark + (mark[1] == '+' ? 2 : 1);
    int exponent = 0;
    std::from_chars(exponentText, end, exponent);
    const int precision = std::clamp(std::max(digits, exponent + 1), 1, 17);
    const auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::general, precision);
    return std::string(text, result.ptr);
}

std::string QVCFormat::decimal(double value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, "%f", value);
    return buffer;
}

std::string QVCFormat::integer(std::int64_t value) {
    return std::to_string(value);
}

std::optional<std::string> QVCFormat::removingWhiteSpace(const std::optional<std::string>& code) {
    if (!code) {
        return std::nullopt;
    }
    std::string cleaned;
    for (std::size_t position = 0; position < code->size();) {
        const std::size_t blank = whiteSpaceLength(*code, position);
        if (blank > 0) {
            position += blank;
        } else {
            cleaned.push_back((*code)[position++]);
        }
    }
    return cleaned;
}

std::string QVCFormat::transactionDateTime(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    ::tzset();
    localtime_r(&seconds, &local);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, "%m/%d/%Y %I:%M %p", &local);
    return std::string(text, length);
}
