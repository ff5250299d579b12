#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "QVConsumer/QVCRecordArena.h"
#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"

/// Reads records out of an answer document: every reader of the library
/// steps through documents with it, so that a value is read the same way and
/// a fault is reported with the same message wherever it stands.
///
/// A reader stands on one value of the document, or on nothing (a branch
/// that is missing), and knows its place ("offer.offerDetails.offerRules",
/// "contactList[0].email[0]") only to name it when it cannot read something:
/// nothing is written out until then. Keys and names are kept as pointers,
/// so they must be string literals.
///
/// Leaves pass the platform's null filter: a missing key and a JSON null read
/// alike, as no value. Below a reader that stands on nothing every leaf has no
/// value. Reading a key of a value that is not an object raises QVCException,
/// and so does every other read the value's kind does not allow.
class QVCONSUMER_EXPORT QVCReader {
public:
    /// A reader over a whole answer value; name names it in messages.
    QVCReader(QVCAnswerValue value, const char* name);
    /// The same, making the records it reads in arena, which must outlive it.
    QVCReader(QVCAnswerValue value, const char* name, QVCRecordArena& arena);

    /// A record for what this reader reads: made in its arena when it has
    /// one, as std::make_shared makes it otherwise.
    template <typename Record, typename... Args>
    std::shared_ptr<Record> make(Args&&... args) const {
        return arena_ != nullptr ? arena_->make<Record>(std::forward<Args>(args)...)
                                 : std::make_shared<Record>(std::forward<Args>(args)...);
    }

    /// A document built in memory, written as JSON text and parsed once, for
    /// the readers' overloads that take one. Raises when it cannot be parsed
    /// back (it nests deeper than the parser allows).
    static std::shared_ptr<const QVCAnswerDocument> parse(const QVCJSON& document);
    /// Record::initWithResponse over such a document.
    template <typename Record>
    static std::shared_ptr<Record> read(const QVCJSON& document) {
        const auto parsed = parse(document);
        return Record::initWithResponse(parsed->root());
    }

    // Stepping down.

    /// The member under key, taken without the null filter: a JSON null is a
    /// value here, and reading a key below it raises.
    QVCReader member(const char* key) const;
    /// The member under key through the null filter: a JSON null stands for nothing.
    QVCReader child(const char* key) const;
    /// Element 0 of the list under key (through the filter), itself taken
    /// without the filter. Raises when the list is present but not a list or empty.
    QVCReader first(const char* key) const;
    /// The same, with the element passed through the filter.
    QVCReader firstFiltered(const char* key) const;
    /// The number of elements of the value this reader stands on: 0 when it
    /// stands on nothing; raises when it is anything but a list (null included).
    std::size_t count() const;
    /// Element index of the list this reader stands on, without the filter.
    QVCReader element(std::size_t index) const;
    /// Calls each(reader) for every element, in order; see count().
    template <typename Each>
    void forEach(const Each& each) const {
        if (count() == 0) {
            return;
        }
        std::size_t index = 0;
        for (QVCAnswerValue item : simdjson::dom::array(*value_)) {
            each(QVCReader(*this, item, Step{nullptr, index++}));
        }
    }

    // Leaves.

    /// The text: a number (or any other value) as its "%@" text, so that a
    /// price sent as 12.5 reads "12.5"; none for no value.
    std::optional<std::string> text(const char* key) const;
    /// The "%@" text; "(null)" for no value.
    std::string formatted(const char* key) const;
    /// The integer value of a text or number; 0 for no value.
    std::int64_t integer(const char* key) const;
    /// The same, taken without the filter: a missing key is 0, a JSON null raises.
    std::int64_t integerOrRaise(const char* key) const;
    /// The 32-bit integer value (texts clamp, numbers keep their low 32 bits); 0 for no value.
    std::int32_t int32(const char* key) const;
    /// Whether there is a value.
    bool present(const char* key) const;
    /// Whether the key is there at all, a JSON null included.
    bool has(const char* key) const;
    /// A flag sent as text: true only for "Y"; false for no value; any other kind raises.
    bool flag(const char* key) const;
    /// The same, taken without the filter: a missing key is false, a JSON null raises.
    bool flagOrRaise(const char* key) const;
    /// A truth value, taken without the filter: JSON true or a non-zero number
    /// is true; a text is true when its first character after blanks, one sign
    /// and leading zeros is Y, y, T, t or a digit 1 to 9; a missing key is
    /// false. A JSON null, an array or an object raises.
    bool truthValue(const char* key) const;
    /// The value's JSON text; none for no value.
    std::optional<std::string> json(const char* key) const;

    /// The value this reader stands on; none when it stands on nothing.
    const std::optional<QVCAnswerValue>& value() const { return value_; }
    /// Where this reader stands, as messages name it.
    std::string path() const;
    /// Where the member key stands, as messages name it.
    std::string pathOf(const char* key) const;

private:
    /// One step from the document's root: a key, or (key null) an element index.
    struct Step {
        const char* key;
        std::size_t index;
    };
    static constexpr std::size_t maxSteps = 8;
    /// One member of the object a reader stands on: its key as it stands in
    /// the document, and its value.
    struct Member {
        const char* key;
        std::size_t length;
        QVCAnswerValue value;
    };
    /// Objects with more members than this are searched in the document itself.
    static constexpr std::size_t maxMembers = 16;
    enum class Listing : unsigned char { NotYet, Listed, TooMany };

    QVCReader(const QVCReader& parent, std::optional<QVCAnswerValue> value, Step step);
    /// Lists the members of the object this reader stands on, once, so that
    /// the keys read after the first are found without walking the document.
    void listMembers() const;
    /// The integer value of leaf, the value under key; raises when it has none.
    std::int64_t integerOf(const char* key, QVCAnswerValue leaf) const;
    /// The flag value of leaf, the value under key: true only for "Y", false for none; raises for other kinds.
    bool flagOf(const char* key, std::optional<QVCAnswerValue> leaf) const;
    [[noreturn]] void raiseNoInteger(const char* key, QVCAnswerValue leaf) const;

    /// The raw member under key; none when this reader stands on nothing.
    std::optional<QVCAnswerValue> lookUp(const char* key) const;
    /// The member under key through the null filter.
    std::optional<QVCAnswerValue> filtered(const char* key) const;

    std::optional<QVCAnswerValue> value_;
    const char* name_;
    QVCRecordArena* arena_ = nullptr;
    Step steps_[maxSteps];
    std::size_t depth_ = 0;  // steps taken; those beyond maxSteps are not named
    // Filled by listMembers(); left uninitialised until then, since most
    // readers only step through.
    mutable Listing listing_ = Listing::NotYet;
    mutable std::size_t memberCount_ = 0;
    alignas(Member) mutable unsigned char members_[sizeof(Member) * maxMembers];
};
