#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"

/// The texts the library writes: the "%@" text of a value, request paths
/// joined from such texts, the "%f" and "%ld" forms of numbers, codes without
/// white space and the date text of a redemption.
class QVCONSUMER_EXPORT QVCFormat {
public:
    /// The "%@" text of a value: a text stays as it is, a number becomes its
    /// decimal text (12.5 gives "12.5", 3.0 gives "3", true gives "1"; see number()), and a
    /// JSON null (an absent value) becomes "(null)". Arrays and objects give
    /// their JSON text.
    static std::string object(const QVCJSON& value);
    /// The same for a value that may be missing altogether (a null pointer).
    static std::string object(const QVCJSON* value);
    /// An absent text becomes "(null)".
    static std::string object(const std::optional<std::string>& text);
    static std::string object(const std::optional<QVCJSON>& value);
    /// The same for a value of an answer.
    static std::string object(QVCAnswerValue value);

    /// The shortest text that reads back as the same double: decimal while
    /// the exponent is below 17 (3.0 gives "3", 20.0 "20", 0.0001 "0.0001"),
    /// in exponent form beyond it and for tiny values ("1e+21", "1e-05").
    static std::string number(double value);

    /// The "%@" texts of the parts, joined: format("a/", id, "/b") reads "a/42/b".
    /// Integers are written in decimal.
    template <typename... Parts>
    static std::string format(const Parts&... parts) {
        std::string text;
        (text.append(piece(parts)), ...);
        return text;
    }

    /// "%f": six digits after the decimal point.
    static std::string decimal(double value);
    /// "%ld": the integer in decimal.
    static std::string integer(std::int64_t value);

    /// The text with every white-space character removed, wherever it stands:
    /// the ASCII blanks and, in UTF-8, the Unicode white space (next line,
    /// no-break space, ogham space, U+2000 to U+200A, the line and paragraph
    /// separators, narrow no-break, medium mathematical and ideographic space).
    /// None stays none.
    static std::optional<std::string> removingWhiteSpace(const std::optional<std::string>& text);

    /// "MM/dd/yyyy hh:mm a" in the current local time zone (TZ is read again on
    /// every call): a 12-hour clock with the day-period marker.
    static std::string transactionDateTime(std::chrono::system_clock::time_point time);

private:
    static std::string piece(const char* text) { return text; }
    static std::string piece(const std::string& text) { return text; }
    template <typename T>
    static std::string piece(const T& value) {
        if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
            return std::to_string(value);
        } else {
            return object(value);
        }
    }
};
