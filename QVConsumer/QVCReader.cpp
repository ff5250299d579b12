#include "QVConsumer/QVCReader.h"

#include <cctype>
#include <utility>

#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCNumber.h"
#include "platform/QVCUtility.h"

namespace {

/// The truth value of a text: after blanks, one sign and leading zeros, the
/// first character decides.
bool textTruthValue(const std::string& text) {
    std::size_t position = 0;
    while (position < text.size() && std::isspace(static_cast<unsigned char>(text[position])) != 0) {
        ++position;
    }
    if (position < text.size() && (text[position] == '+' || text[position] == '-')) {
        ++position;
    }
    while (position < text.size() && text[position] == '0') {
        ++position;
    }
    if (position == text.size()) {
        return false;
    }
    const char first = text[position];
    return first == 'Y' || first == 'y' || first == 'T' || first == 't' || (first >= '1' && first <= '9');
}

const QVCJSON& emptyArray() {
    static const QVCJSON empty = QVCJSON::array();
    return empty;
}

}  // namespace

QVCReader::QVCReader(const QVCJSON& document, std::string documentName)
    : QVCReader(&document, std::move(documentName), false) {}

QVCReader::QVCReader(const QVCJSON* document, std::string name, bool nested)
    : document_(document), name_(std::move(name)), nested_(nested) {}

std::string QVCReader::pathOf(const std::string& key) const {
    return nested_ ? name_ + "." + key : key;
}

const QVCJSON* QVCReader::lookUp(const std::string& key) const {
    if (document_ == nullptr) {
        return nullptr;
    }
    return QVCDocument::valueForKey(*document_, key, name_);
}

const QVCJSON& QVCReader::value(const std::string& key) const {
    return QVCUtility::getNonNullValue(lookUp(key));
}

QVCReader QVCReader::member(const std::string& key) const {
    return QVCReader(lookUp(key), pathOf(key), true);
}

std::optional<std::string> QVCReader::asIs(const std::string& key) const {
    const QVCJSON& leaf = value(key);
    if (leaf.is_null()) {
        return std::nullopt;
    }
    return QVCFormat::object(leaf);
}

std::string QVCReader::formatted(const std::string& key) const {
    return QVCFormat::object(value(key));
}

std::int64_t QVCReader::integer(const std::string& key) const {
    const QVCJSON& leaf = value(key);
    return leaf.is_null() ? 0 : QVCNumber::integerValue(&leaf, pathOf(key));
}

bool QVCReader::present(const std::string& key) const {
    return !value(key).is_null();
}

bool QVCReader::truthValue(const std::string& key) const {
    const QVCJSON* leaf = lookUp(key);
    if (leaf == nullptr) {
        return false;
    }
    switch (leaf->type()) {
        case QVCJSON::value_t::boolean: return leaf->get<bool>();
        case QVCJSON::value_t::number_integer:
        case QVCJSON::value_t::number_unsigned:
        case QVCJSON::value_t::number_float: return leaf->get<double>() != 0.0;
        case QVCJSON::value_t::string: return textTruthValue(leaf->get_ref<const std::string&>());
        default: throw QVCException(pathOf(key) + " is " + QVCDocument::kindName(*leaf) + " and has no truth value");
    }
}

const QVCJSON& QVCReader::listValue(const std::string& key) const {
    const QVCJSON& items = value(key);
    if (items.is_null()) {
        return emptyArray();
    }
    if (!items.is_array()) {
        throw QVCException("cannot read the elements of " + pathOf(key) + ": it is " + QVCDocument::kindName(items) +
                           ", not an array");
    }
    return items;
}

QVCReader QVCReader::elementReader(const QVCJSON& items, const std::string& key, std::size_t index) const {
    return QVCReader(&items[index], pathOf(key) + "[" + std::to_string(index) + "]", true);
}
