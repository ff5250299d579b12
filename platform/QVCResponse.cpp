#include "platform/QVCResponse.h"

#include <algorithm>
#include <cctype>
#include <utility>

bool QVCHeaderNameLess::operator()(const std::string& left, const std::string& right) const {
    return std::lexicographical_compare(
        left.begin(), left.end(), right.begin(), right.end(),
        [](unsigned char a, unsigned char b) { return std::tolower(a) < std::tolower(b); });
}

QVCResponse::QVCResponse(std::optional<QVCJSON> body, QVCHeaders headers, std::shared_ptr<QVCErrorResponse> error)
    : body_(std::move(body)), headers_(std::move(headers)), error_(std::move(error)) {}

bool QVCResponse::containsValueForKey(const std::string& key) const {
    return objectForKey(key) != nullptr;
}

const QVCJSON* QVCResponse::objectForKey(const std::string& key) const {
    if (!body_ || !body_->is_object()) {
        return nullptr;
    }
    auto member = body_->find(key);
    return member == body_->end() ? nullptr : &*member;
}

std::optional<std::string> QVCResponse::headerValue(const std::string& name) const {
    auto field = headers_.find(name);
    if (field == headers_.end()) {
        return std::nullopt;
    }
    return field->second;
}
