#include "QVConsumer/QVCReader.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCNumber.h"
#include "platform/QVCUtility.h"

namespace {

const char* kindName(QVCAnswerValue value) {
    switch (value.type()) {
        case simdjson::dom::element_type::STRING: return "a string";
        case simdjson::dom::element_type::INT64:
        case simdjson::dom::element_type::UINT64:
        case simdjson::dom::element_type::DOUBLE: return "a number";
        case simdjson::dom::element_type::BOOL: return "a boolean";
        case simdjson::dom::element_type::OBJECT: return "an object";
        case simdjson::dom::element_type::ARRAY: return "an array";
        default: return "null";
    }
}

/// The truth value of a text: after blanks, one sign and leading zeros, the
/// first character decides.
bool textTruthValue(std::string_view text) {
    const std::size_t position = QVCNumber::lead(text).significant;
    if (position == text.size()) {
        return false;
    }
    const char first = text[position];
    return first == 'Y' || first == 'y' || first == 'T' || first == 't' || (first >= '1' && first <= '9');
}

}  // namespace

QVCReader::QVCReader(QVCAnswerValue value, const char* name) : value_(value), name_(name), steps_{} {}

QVCReader::QVCReader(QVCAnswerValue value, const char* name, QVCRecordArena& arena)
    : value_(value), name_(name), arena_(&arena), steps_{} {}

std::shared_ptr<const QVCAnswerDocument> QVCReader::parse(const QVCJSON& document) {
    auto parsed = QVCAnswerDocument::fromJSON(document);
    if (!parsed.document) {
        throw QVCException("the document cannot be read: " + parsed.error);
    }
    return parsed.document;
}

QVCReader::QVCReader(const QVCReader& parent, std::optional<QVCAnswerValue> value, Step step)
    : value_(value), name_(parent.name_), arena_(parent.arena_), depth_(parent.depth_ + 1) {
    std::copy(parent.steps_, parent.steps_ + std::min(parent.depth_, maxSteps), steps_);
    if (parent.depth_ < maxSteps) {
        steps_[parent.depth_] = step;
    }
}

std::string QVCReader::path() const {
    if (depth_ == 0) {
        return name_;
    }
    std::string text;
    for (std::size_t index = 0; index < depth_ && index < maxSteps; ++index) {
        const Step& step = steps_[index];
        if (step.key != nullptr) {
            text += (index == 0 ? "" : ".") + std::string(step.key);
        } else {
            text += (index == 0 ? std::string(name_) : std::string()) + "[" + std::to_string(step.index) + "]";
        }
    }
    return depth_ > maxSteps ? text + "..." : text;
}

std::string QVCReader::pathOf(const char* key) const {
    return depth_ == 0 ? std::string(key) : path() + "." + key;
}

std::optional<QVCAnswerValue> QVCReader::lookUp(const char* key) const {
    if (!value_) {
        return std::nullopt;
    }
    if (!value_->is_object()) {
        throw QVCException("cannot read key \"" + std::string(key) + "\" of " + path() + ": it is " +
                           kindName(*value_) + ", not an object");
    }
    if (listing_ == Listing::NotYet) {
        listMembers();
    }
    if (listing_ == Listing::TooMany) {
        return QVCAnswerDocument::find(*value_, key);
    }
    // From the last member back, so that the last of a repeated key wins.
    const std::size_t length = std::strlen(key);
    const auto* members = std::launder(reinterpret_cast<const Member*>(members_));
    for (std::size_t index = memberCount_; index-- > 0;) {
        if (members[index].length == length && std::memcmp(members[index].key, key, length) == 0) {
            return members[index].value;
        }
    }
    return std::nullopt;
}

void QVCReader::listMembers() const {
    const simdjson::dom::object object(*value_);
    auto* members = reinterpret_cast<Member*>(members_);
    memberCount_ = 0;
    for (auto field = object.begin(), end = object.end(); field != end; ++field) {
        if (memberCount_ == maxMembers) {
            listing_ = Listing::TooMany;
            return;
        }
        new (&members[memberCount_++]) Member{field.key_c_str(), field.key_length(), field.value()};
    }
    listing_ = Listing::Listed;
}

std::optional<QVCAnswerValue> QVCReader::filtered(const char* key) const {
    return QVCUtility::getNonNullValue(lookUp(key));
}

QVCReader QVCReader::member(const char* key) const {
    return QVCReader(*this, lookUp(key), Step{key, 0});
}

QVCReader QVCReader::child(const char* key) const {
    return QVCReader(*this, filtered(key), Step{key, 0});
}

QVCReader QVCReader::first(const char* key) const {
    return child(key).element(0);
}

QVCReader QVCReader::firstFiltered(const char* key) const {
    QVCReader element = first(key);
    element.value_ = QVCUtility::getNonNullValue(element.value_);
    return element;
}

std::size_t QVCReader::count() const {
    if (!value_) {
        return 0;
    }
    if (!value_->is_array()) {
        throw QVCException("cannot count the elements of " + path() + ": it is " + kindName(*value_) +
                           ", not an array");
    }
    return simdjson::dom::array(*value_).size();
}

QVCReader QVCReader::element(std::size_t index) const {
    if (!value_) {
        return QVCReader(*this, std::nullopt, Step{nullptr, index});
    }
    if (!value_->is_array()) {
        throw QVCException("cannot take element " + std::to_string(index) + " of " + path() + ": it is " +
                           kindName(*value_) + ", not an array");
    }
    auto found = simdjson::dom::array(*value_).at(index);
    if (found.error()) {
        throw QVCException("cannot take element " + std::to_string(index) + " of " + path() + ": it holds " +
                           std::to_string(simdjson::dom::array(*value_).size()) + " elements");
    }
    return QVCReader(*this, found.value_unsafe(), Step{nullptr, index});
}

std::optional<std::string> QVCReader::text(const char* key) const {
    const auto leaf = filtered(key);
    if (!leaf) {
        return std::nullopt;
    }
    return QVCFormat::object(*leaf);
}

std::string QVCReader::formatted(const char* key) const {
    const auto leaf = filtered(key);
    return leaf ? QVCFormat::object(*leaf) : std::string("(null)");
}

std::int64_t QVCReader::integer(const char* key) const {
    const auto leaf = filtered(key);
    return leaf ? integerOf(key, *leaf) : 0;
}

std::int64_t QVCReader::integerOrRaise(const char* key) const {
    const auto leaf = lookUp(key);
    return leaf ? integerOf(key, *leaf) : 0;
}

std::int32_t QVCReader::int32(const char* key) const {
    const auto leaf = filtered(key);
    if (!leaf) {
        return 0;
    }
    if (const auto number = QVCNumber::intValue(*leaf)) {
        return *number;
    }
    raiseNoInteger(key, *leaf);
}

std::int64_t QVCReader::integerOf(const char* key, QVCAnswerValue leaf) const {
    if (const auto number = QVCNumber::integerValue(leaf)) {
        return *number;
    }
    raiseNoInteger(key, leaf);
}

void QVCReader::raiseNoInteger(const char* key, QVCAnswerValue leaf) const {
    throw QVCException(pathOf(key) + " is " + kindName(leaf) + " and has no integer value");
}

bool QVCReader::present(const char* key) const {
    return filtered(key).has_value();
}

bool QVCReader::has(const char* key) const {
    return lookUp(key).has_value();
}

bool QVCReader::flag(const char* key) const {
    return flagOf(key, filtered(key));
}

bool QVCReader::flagOrRaise(const char* key) const {
    return flagOf(key, lookUp(key));
}

bool QVCReader::flagOf(const char* key, std::optional<QVCAnswerValue> leaf) const {
    if (!leaf) {
        return false;
    }
    if (!leaf->is_string()) {
        throw QVCException(pathOf(key) + " is " + kindName(*leaf) + ", not a string");
    }
    return std::string_view(*leaf) == "Y";
}

bool QVCReader::truthValue(const char* key) const {
    const auto leaf = lookUp(key);
    if (!leaf) {
        return false;
    }
    switch (leaf->type()) {
        case simdjson::dom::element_type::BOOL: return bool(*leaf);
        case simdjson::dom::element_type::INT64:
        case simdjson::dom::element_type::UINT64:
        case simdjson::dom::element_type::DOUBLE: return double(*leaf) != 0.0;
        case simdjson::dom::element_type::STRING: return textTruthValue(std::string_view(*leaf));
        default: throw QVCException(pathOf(key) + " is " + kindName(*leaf) + " and has no truth value");
    }
}

std::optional<std::string> QVCReader::json(const char* key) const {
    const auto leaf = filtered(key);
    if (!leaf) {
        return std::nullopt;
    }
    return simdjson::minify(*leaf);
}
