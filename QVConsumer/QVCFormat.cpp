#include "QVConsumer/QVCFormat.h"

#include <charconv>
#include <cstdio>

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
    // The shortest digits that read back as the same double tell how many
    // significant digits are needed; "%g" with that precision then chooses
    // between the fixed and the exponent form.
    char text[40];
    const auto shortest = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    int precision = 0;
    for (const char* c = text; c != shortest.ptr && *c != 'e'; ++c) {
        precision += (*c >= '0' && *c <= '9') ? 1 : 0;
    }
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
