#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <simdjson.h>

#include "platform/QVCJSON.h"
#include "platform/QVCPlatformExport.h"

/// One value inside a parsed answer: a view that is valid as long as the
/// document it belongs to lives. It tells an absent key from a null, a text
/// from a number and an array from an object.
using QVCAnswerValue = simdjson::dom::element;

/// An answer body parsed once into an immutable document: one block for the
/// structure and one for the texts, freed together. Answers hold it shared, so
/// a response can be copied and handed on without copying the document.
class QVCPLATFORM_EXPORT QVCAnswerDocument {
public:
    struct Parsed {
        std::shared_ptr<const QVCAnswerDocument> document;  ///< none when the text is not JSON
        std::string error;                                  ///< why the text is not JSON; empty on success
    };

    /// Parses text that the caller gives away. A string with SIMDJSON_PADDING
    /// bytes of spare capacity is parsed where it is; any other is copied
    /// into a padded buffer that the thread's parser keeps. Each thread's
    /// parser keeps buffers sized for the largest answer it has parsed (about
    /// 4 bytes per byte of text).
    static Parsed parse(std::string text);
    /// Parses text that the caller keeps: it is copied into the thread
    /// parser's padded buffer, so a text answered again and again costs no
    /// fresh allocation.
    static Parsed parseCopyOf(std::string_view text);
    /// A document holding value: value is written as JSON text and parsed once,
    /// for answers that a host or a test builds in memory. Texts that are not
    /// UTF-8 are written with replacement characters; a value nested deeper
    /// than the parser allows (1024 levels) gives no document.
    static Parsed fromJSON(const QVCJSON& value);

    QVCAnswerValue root() const;

    /// A copy of value as an in-memory JSON value, for hosts, tests and tools
    /// that want one; a key given twice keeps its last value. Readers read the
    /// document itself.
    static QVCJSON toJSON(QVCAnswerValue value);

    /// The member named key of object; a key given twice gives its last value,
    /// as the in-memory JSON values do. None when object is not an object or
    /// has no such member.
    static std::optional<QVCAnswerValue> find(QVCAnswerValue object, std::string_view key);

    /// Documents reuse the storage of a finished one (one is kept for the
    /// process, for answers up to 32 MiB), so that a steady flow of large
    /// answers does not map fresh memory for each.
    QVCAnswerDocument();
    ~QVCAnswerDocument();
    QVCAnswerDocument(const QVCAnswerDocument&) = delete;
    QVCAnswerDocument& operator=(const QVCAnswerDocument&) = delete;

private:
    /// Parses text; copy says whether it lacks the padding.
    static Parsed parse(std::string_view text, bool copy);

    simdjson::dom::document document_;
};
