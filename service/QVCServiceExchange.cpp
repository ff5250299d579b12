#include "service/QVCServiceExchange.h"

#include <strings.h>
#include <cctype>

namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

/// Percent-decodes text; a "%" not followed by two hex digits stays as it is.
std::string decoded(const std::string& text, bool plusIsSpace) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
        const int low = high >= 0 ? hexValue(text[i + 2]) : -1;
        if (low >= 0) {
            result += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            result += plusIsSpace && text[i] == '+' ? ' ' : text[i];
        }
    }
    return result;
}

}  // namespace

std::optional<std::string> QVCServiceRequest::header(const std::string& name) const {
    for (const auto& [key, value] : headers) {
        if (strcasecmp(key.c_str(), name.c_str()) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

std::string QVCServiceRequest::path() const {
    return decoded(target.substr(0, target.find('?')), false);
}

std::optional<std::string> QVCServiceRequest::query(const std::string& name) const {
    const auto mark = target.find('?');
    if (mark == std::string::npos) {
        return std::nullopt;
    }
    const std::string query = target.substr(mark + 1);
    for (std::size_t start = 0; start <= query.size();) {
        const auto end = std::min(query.find('&', start), query.size());
        const std::string pair = query.substr(start, end - start);
        const auto equals = pair.find('=');
        if (decoded(pair.substr(0, equals), true) == name) {
            return equals == std::string::npos ? std::string() : decoded(pair.substr(equals + 1), true);
        }
        start = end + 1;
    }
    return std::nullopt;
}
