#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/QVCJSON.h"

/// Reads the leaves of a service document with the four conversions the
/// record readers use, and names every value it cannot read by its place in
/// the document ("offer.offerDetails.offerRules", "categories[2]").
///
/// Leaves pass through QVCUtility::getNonNullValue, so a missing key and a
/// JSON null read alike:
///  - asIs: the text; a number (or any other non-null value) as its "%@"
///    text, so that a price sent as 12.5 reads "12.5" and every later numeric
///    reading of it gives the same value; absent for no value.
///  - formatted: the "%@" text; "(null)" for no value.
///  - integer: QVCNumber::integerValue of the value; 0 for no value.
///  - present: whether there is a value.
///
/// Intermediate objects (member) are taken without the null filter: a missing
/// one reads every leaf below it as no value, a present one that is not an
/// object (JSON null included) makes the first read below it throw.
class QVCReader {
public:
    /// A reader over a whole document; documentName names it in messages.
    QVCReader(const QVCJSON& document, std::string documentName);

    /// The intermediate object under key.
    QVCReader member(const std::string& key) const;

    std::optional<std::string> asIs(const std::string& key) const;
    std::string formatted(const std::string& key) const;
    std::int64_t integer(const std::string& key) const;
    bool present(const std::string& key) const;

    /// The truth value of key, taken without the null filter: JSON true or a
    /// non-zero number is true; a text is true when its first character after
    /// blanks, one sign and leading zeros is Y, y, T, t or a digit 1 to 9; a
    /// missing key is false. A JSON null, an array or an object throws.
    bool truthValue(const std::string& key) const;

    /// Each element of the list under key, read in order by readElement with a
    /// reader over that element. A missing or null list gives no element; any
    /// other value that is not an array throws.
    template <typename Element>
    std::vector<Element> list(const std::string& key,
                              const std::function<Element(const QVCReader& element)>& readElement) const {
        std::vector<Element> elements;
        const QVCJSON& items = listValue(key);
        elements.reserve(items.size());
        for (std::size_t index = 0; index < items.size(); ++index) {
            elements.push_back(readElement(elementReader(items, key, index)));
        }
        return elements;
    }

private:
    QVCReader(const QVCJSON* document, std::string name, bool nested);

    /// The raw member under key; null when this reader has no document.
    const QVCJSON* lookUp(const std::string& key) const;
    /// The member under key through the null filter.
    const QVCJSON& value(const std::string& key) const;
    std::string pathOf(const std::string& key) const;
    /// The array under key; an empty array for a missing or null value.
    const QVCJSON& listValue(const std::string& key) const;
    QVCReader elementReader(const QVCJSON& items, const std::string& key, std::size_t index) const;

    const QVCJSON* document_;
    std::string name_;
    bool nested_;
};
