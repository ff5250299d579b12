#include "QVConsumer/QVCDocument.h"

#include "QVConsumer/QVCException.h"

namespace {

[[noreturn]] void throwAbsent(const std::string& key) {
    throw QVCException("attempt to insert an absent value for key \"" + key + "\"");
}

}  // namespace

const QVCJSON* QVCDocument::valueForKey(const QVCJSON& object, const std::string& key, std::string_view what) {
    if (!object.is_object()) {
        throw QVCException("cannot read key \"" + key + "\" of " + std::string(what) + ": it is " + kindName(object) +
                           ", not an object");
    }
    auto member = object.find(key);
    return member == object.end() ? nullptr : &*member;
}

const QVCJSON& QVCDocument::elementAtIndex(const QVCJSON& array, std::size_t index, std::string_view what) {
    if (!array.is_array()) {
        throw QVCException("cannot take element " + std::to_string(index) + " of " + std::string(what) + ": it is " +
                           kindName(array) + ", not an array");
    }
    if (index >= array.size()) {
        throw QVCException("cannot take element " + std::to_string(index) + " of " + std::string(what) + ": it holds " +
                           std::to_string(array.size()) + " elements");
    }
    return array[index];
}

std::size_t QVCDocument::elementCount(const QVCJSON* list, std::string_view what) {
    if (list == nullptr) {
        return 0;
    }
    if (!list->is_array()) {
        throw QVCException("cannot count the elements of " + std::string(what) + ": it is " + kindName(*list) +
                           ", not an array");
    }
    return list->size();
}

void QVCDocument::setObject(QVCJSON& object, const std::string& key, const std::optional<std::string>& value) {
    if (!value) {
        throwAbsent(key);
    }
    object[key] = *value;
}

void QVCDocument::setObject(QVCJSON& object, const std::string& key, const std::optional<QVCJSON>& value) {
    if (!value) {
        throwAbsent(key);
    }
    object[key] = *value;
}

const char* QVCDocument::kindName(const QVCJSON& value) {
    switch (value.type()) {
        case QVCJSON::value_t::string: return "a string";
        case QVCJSON::value_t::number_integer:
        case QVCJSON::value_t::number_unsigned:
        case QVCJSON::value_t::number_float: return "a number";
        case QVCJSON::value_t::boolean: return "a boolean";
        case QVCJSON::value_t::object: return "an object";
        case QVCJSON::value_t::array: return "an array";
        default: return "null";
    }
}
