#include "platform/QVCHTTPText.h"

#include <algorithm>

bool QVCHasLineBreak(const std::string& text) {
    return text.find_first_of("\r\n") != std::string::npos;
}

std::string QVCTrim(std::string text) {
    auto blank = [](unsigned char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.back())) {
        text.pop_back();
    }
    std::size_t start = 0;
    while (start < text.size() && blank(text[start])) {
        ++start;
    }
    return text.substr(start);
}

std::string QVCOneLine(const std::string& text) {
    std::string line;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find_first_not_of(" \t\r\n", at), text.size());
        if (end == at) {
            line += text[at++];
            continue;
        }
        const std::string run = text.substr(at, end - at);
        line += run.find_first_of("\r\n") == std::string::npos ? run : " ";
        at = end;
    }
    return QVCTrim(line);
}
