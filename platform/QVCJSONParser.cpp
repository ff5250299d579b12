#include "platform/QVCJSONParser.h"

#include <simdjson.h>

#include <string_view>
#include <utility>

namespace {

QVCJSON convert(simdjson::dom::element element) {
    switch (element.type()) {
        case simdjson::dom::element_type::OBJECT: {
            QVCJSON object = QVCJSON::object();
            for (auto field : simdjson::dom::object(element)) {
                // A key given twice keeps its last value, as nlohmann's own parser does.
                object[std::string(field.key)] = convert(field.value);
            }
            return object;
        }
        case simdjson::dom::element_type::ARRAY: {
            QVCJSON array = QVCJSON::array();
            simdjson::dom::array elements(element);
            array.get_ref<QVCJSON::array_t&>().reserve(elements.size());
            for (auto item : elements) {
                array.push_back(convert(item));
            }
            return array;
        }
        case simdjson::dom::element_type::STRING: return QVCJSON(std::string(std::string_view(element)));
        case simdjson::dom::element_type::INT64: return QVCJSON(std::int64_t(element));
        case simdjson::dom::element_type::UINT64: return QVCJSON(std::uint64_t(element));
        case simdjson::dom::element_type::DOUBLE: return QVCJSON(double(element));
        case simdjson::dom::element_type::BOOL: return QVCJSON(bool(element));
        case simdjson::dom::element_type::NULL_VALUE: return QVCJSON(nullptr);
    }
    return QVCJSON(nullptr);
}

simdjson::dom::parser& threadParser() {
    thread_local simdjson::dom::parser parser;
    return parser;
}

}  // namespace

QVCJSONParser::Result QVCJSONParser::parse(std::string& text) {
    std::size_t length = text.size();
    if (text.capacity() < length + simdjson::SIMDJSON_PADDING) {
        text.reserve(length + simdjson::SIMDJSON_PADDING);
    }
    simdjson::dom::element root;
    auto error = threadParser().parse(text.data(), length, false).get(root);
    if (error) {
        return {std::nullopt, simdjson::error_message(error)};
    }
    return {convert(root), {}};
}

QVCJSONParser::Result QVCJSONParser::parse(const std::string& text) {
    std::string copy;
    copy.reserve(text.size() + simdjson::SIMDJSON_PADDING);
    copy = text;
    return parse(copy);
}
