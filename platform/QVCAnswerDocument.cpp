#include "platform/QVCAnswerDocument.h"

#include <mutex>
#include <utility>

namespace {

simdjson::dom::parser& threadParser() {
    thread_local simdjson::dom::parser parser;
    return parser;
}

/// The storage of one finished document, kept for the next answer: a large
/// answer then lands in pages that are already mapped, rather than in fresh
/// ones that the system must map and zero on first touch and unmap on free.
class SpareStorage {
public:
    static SpareStorage& instance() {
        // Never destroyed: documents may die in other static destructors.
        static auto* spare = new SpareStorage;
        return *spare;
    }

    simdjson::dom::document take() {
        std::lock_guard<std::mutex> lock(mutex_);
        simdjson::dom::document taken = std::move(document_);
        // A moved-from document still claims its capacity: make it empty.
        document_ = simdjson::dom::document();
        return taken;
    }

    /// Keeps document unless its storage is too large to hold on to, or a
    /// larger one is already kept.
    void give(simdjson::dom::document&& document) {
        if (document.capacity() > maxKeptCapacity) {
            return;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        if (document.capacity() > document_.capacity()) {
            document_ = std::move(document);
        }
    }

private:
    // Answers up to this size (bytes of text) reuse storage; its tape takes
    // 8 bytes per byte of text, of which only what the answer uses is touched.
    static constexpr std::size_t maxKeptCapacity = 32 * 1024 * 1024;
    std::mutex mutex_;
    simdjson::dom::document document_;
};

}  // namespace

QVCAnswerDocument::QVCAnswerDocument() : document_(SpareStorage::instance().take()) {}

QVCAnswerDocument::~QVCAnswerDocument() {
    SpareStorage::instance().give(std::move(document_));
}

QVCAnswerDocument::Parsed QVCAnswerDocument::parse(std::string text) {
    // The parser reads up to SIMDJSON_PADDING bytes past the text: a string
    // with that much spare capacity is parsed where it is.
    const bool padded = text.capacity() - text.size() >= simdjson::SIMDJSON_PADDING;
    return parse(std::string_view(text), !padded);
}

QVCAnswerDocument::Parsed QVCAnswerDocument::parseCopyOf(std::string_view text) {
    return parse(text, true);
}

QVCAnswerDocument::Parsed QVCAnswerDocument::parse(std::string_view text, bool copy) {
    auto document = std::make_shared<QVCAnswerDocument>();
    simdjson::dom::element root;
    auto error = threadParser()
                     .parse_into_document(document->document_, reinterpret_cast<const std::uint8_t*>(text.data()),
                                          text.size(), copy)
                     .get(root);
    if (error) {
        return {nullptr, simdjson::error_message(error)};
    }
    return {std::move(document), {}};
}

QVCAnswerDocument::Parsed QVCAnswerDocument::fromJSON(const QVCJSON& value) {
    return parse(value.dump(-1, ' ', false, QVCJSON::error_handler_t::replace));
}

QVCAnswerValue QVCAnswerDocument::root() const {
    return document_.root();
}

QVCJSON QVCAnswerDocument::toJSON(QVCAnswerValue value) {
    switch (value.type()) {
        case simdjson::dom::element_type::OBJECT: {
            QVCJSON object = QVCJSON::object();
            for (auto field : simdjson::dom::object(value)) {
                object[std::string(field.key)] = toJSON(field.value);
            }
            return object;
        }
        case simdjson::dom::element_type::ARRAY: {
            QVCJSON array = QVCJSON::array();
            simdjson::dom::array elements(value);
            array.get_ref<QVCJSON::array_t&>().reserve(elements.size());
            for (auto item : elements) {
                array.push_back(toJSON(item));
            }
            return array;
        }
        case simdjson::dom::element_type::STRING: return QVCJSON(std::string(std::string_view(value)));
        case simdjson::dom::element_type::INT64: return QVCJSON(std::int64_t(value));
        case simdjson::dom::element_type::UINT64: return QVCJSON(std::uint64_t(value));
        case simdjson::dom::element_type::DOUBLE: return QVCJSON(double(value));
        case simdjson::dom::element_type::BOOL: return QVCJSON(bool(value));
        case simdjson::dom::element_type::NULL_VALUE: return QVCJSON(nullptr);
    }
    return QVCJSON(nullptr);
}

std::optional<QVCAnswerValue> QVCAnswerDocument::find(QVCAnswerValue object, std::string_view key) {
    if (!object.is_object()) {
        return std::nullopt;
    }
    // Compares keys in place and makes a value only for a match; every field
    // is seen, so that the last of a repeated key wins.
    const simdjson::dom::object fields(object);
    std::optional<QVCAnswerValue> found;
    for (auto field = fields.begin(), end = fields.end(); field != end; ++field) {
        if (field.key_equals(key)) {
            found = field.value();
        }
    }
    return found;
}
