#include "platform/QVCRequestShapes.h"

#include <cstring>
#include <vector>

namespace {

/// The library's requests. Each "{name}" stands for one inserted value and
/// names it in refusals; a value after the "?" is the query key's value.
const char* const shapeTable[][2] = {
    {"GET", "lqsapi/consumers/v1/data"},
    {"GET", "lqsapi/consumers/v1/consumer/{user name}/authenticate"},
    {"POST", "lqsapi/consumers/v1/consumer"},  // sign-up and profile update
    {"GET", "lqsapi/consumers/v1/consumer/{consumer id}/balance/loyalty"},
    {"GET", "lqsapi/consumers/v1/consumers/{consumer id}/offers?facilityId={facility id}"},
    {"GET", "lqsapi/consumers/v1/consumers/{consumer id}/offers/{offer id}"},
    {"GET", "lqsapi/consumers/v1/consumers/{consumer id}/offers?offerCode={offer code}"},
    {"POST", "lqsapi/consumers/v1/consumers/{consumer id}/offers/{consumer offer id}/redeems"},
    {"POST", "lqsapi/consumers/v1/consumer/{consumer id}/device"},
};

struct Slot {
    std::string name;
    bool inQuery;
};

/// One row of the table, split into the literal texts around its slots.
struct Shape {
    std::string method;
    std::string pattern;
    std::vector<std::string> literals;  // one more than slots
    std::vector<Slot> slots;
    std::size_t literalLength = 0;  // how much of a path the shape fixes

    Shape(const char* givenMethod, const std::string& givenPattern)
        : method(givenMethod), pattern(givenPattern), literals(1) {
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            if (pattern[i] == '{') {
                const std::size_t close = pattern.find('}', i);
                slots.push_back({pattern.substr(i + 1, close - i - 1), pattern.find('?') < i});
                literals.emplace_back();
                i = close;
            } else {
                literals.back() += pattern[i];
                ++literalLength;
            }
        }
    }

    /// The values path holds in the slots: each inner literal is taken at its
    /// first occurrence and the last one must end the path. None when the
    /// literals do not fit. Every inner literal holds a "/", which no path
    /// segment value may hold, so a request that fits splits only one way.
    std::optional<std::vector<std::string>> valuesIn(const std::string& path) const {
        if (path.compare(0, literals[0].size(), literals[0]) != 0) {
            return std::nullopt;
        }
        std::size_t at = literals[0].size();
        std::vector<std::string> values;
        for (std::size_t i = 1; i < literals.size(); ++i) {
            const std::string& literal = literals[i];
            if (path.size() < at + literal.size()) {
                return std::nullopt;
            }
            const std::size_t end = i + 1 == literals.size() ? path.size() - literal.size() : path.find(literal, at);
            if (end == std::string::npos || path.compare(end, literal.size(), literal) != 0) {
                return std::nullopt;
            }
            values.push_back(path.substr(at, end - at));
            at = end + literal.size();
        }
        if (at != path.size()) {
            return std::nullopt;
        }
        return values;
    }
};

const std::vector<Shape>& shapes() {
    static const std::vector<Shape> parsed = [] {
        std::vector<Shape> all;
        for (const auto& row : shapeTable) {
            all.emplace_back(row[0], row[1]);
        }
        return all;
    }();
    return parsed;
}

/// Why value cannot stand in slot; empty when it can.
std::string faultOf(const Slot& slot, const std::string& value) {
    if (!slot.inQuery && value.empty()) {
        return "the " + slot.name + " is empty";
    }
    if (!slot.inQuery && (value == "." || value == "..")) {
        return "the " + slot.name + " is the dot segment \"" + value + "\"";
    }
    const std::size_t at = value.find_first_of(slot.inQuery ? "?#&" : "/?#");
    if (at == std::string::npos) {
        return {};
    }
    const char mark = value[at];
    const char* role = mark == '/'   ? "a path separator"
                       : mark == '?' ? "a query mark"
                       : mark == '#' ? "a fragment mark"
                                     : "a second query key";
    return "the " + slot.name + " holds \"" + mark + "\" (" + role + ")";
}

std::string encoded(const std::string& value, bool inQuery) {
    static const char* digits = "0123456789ABCDEF";
    const char* kept = inQuery ? "-._~!$'()*,:@/" : "-._~!$&'()*+,=:@";
    std::string text;
    text.reserve(value.size());
    for (unsigned char c : value) {
        const bool alphanumeric = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (alphanumeric || (c != 0 && std::strchr(kept, c))) {
            text += static_cast<char>(c);
        } else {
            text += '%';
            text += digits[c >> 4];
            text += digits[c & 0x0f];
        }
    }
    return text;
}

}  // namespace

QVCResponse QVCRequestShapes::Checked::refusal(const std::string& method) const {
    return QVCResponse(
        std::nullopt, {},
        QVCErrorResponse::initWithErrorMessages({method + " " + shape + ": " + fault + "; nothing was sent"},
                                                QVCErrorResponse::Kind::PathRefused));
}

QVCRequestShapes::Checked QVCRequestShapes::check(const std::string& method, const std::string& pathWithQuery) {
    // Of the shapes whose literals fit but whose values do not, the one that
    // fixes most of the path names the fault.
    Checked refused{std::nullopt, "(no known request)", "no " + method + " request of this library has this path"};
    std::size_t refusedLength = 0;
    for (const Shape& shape : shapes()) {
        std::optional<std::vector<std::string>> values;
        if (shape.method != method || !(values = shape.valuesIn(pathWithQuery))) {
            continue;
        }
        std::string target = shape.literals[0];
        std::string fault;
        for (std::size_t i = 0; i < values->size() && fault.empty(); ++i) {
            fault = faultOf(shape.slots[i], (*values)[i]);
            target += encoded((*values)[i], shape.slots[i].inQuery) + shape.literals[i + 1];
        }
        if (fault.empty()) {
            return {std::move(target), shape.pattern, {}};
        }
        if (shape.literalLength > refusedLength) {
            refused = {std::nullopt, shape.pattern, std::move(fault)};
            refusedLength = shape.literalLength;
        }
    }
    return refused;
}
