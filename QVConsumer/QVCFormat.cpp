#include "QVConsumer/QVCFormat.h"

#include <cstdio>
#include <cstdlib>

namespace {

/// The shortest decimal text that reads back as the same double, without a
/// trailing ".0" (3.0 gives "3").
std::string shortestDecimal(double value) {
    char buffer[32];
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(buffer, sizeof buffer, "%.*g", precision, value);
        if (std::strtod(buffer, nullptr) == value) {
            break;
        }
    }
    return buffer;
}

}  // namespace

std::string QVCFormat::object(const QVCJSON& value) {
    switch (value.type()) {
        case QVCJSON::value_t::string: return value.get_ref<const std::string&>();
        case QVCJSON::value_t::number_integer: return std::to_string(value.get<std::int64_t>());
        case QVCJSON::value_t::number_unsigned: return std::to_string(value.get<std::uint64_t>());
        case QVCJSON::value_t::number_float: return shortestDecimal(value.get<double>());
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

std::string QVCFormat::decimal(double value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, "%f", value);
    return buffer;
}

std::string QVCFormat::integer(std::int64_t value) {
    return std::to_string(value);
}
