#include "platform/QVCResponse.h"

#include <algorithm>
#include <cctype>
#include <utility>

bool QVCHeaderNameLess::operator()(const std::string& left, const std::string& right) const {
    return std::lexicographical_compare(
        left.begin(), left.end(), right.begin(), right.end(),
        [](unsigned char a, unsigned char b) { return std::tolower(a) < std::tolower(b); });
}

QVCResponse::QVCResponse(std::shared_ptr<const QVCAnswerDocument> document, QVCHeaders headers,
                         std::shared_ptr<QVCErrorResponse> error)
    : document_(std::move(document)), headers_(std::move(headers)), error_(std::move(error)) {}

QVCResponse::QVCResponse(const std::optional<QVCJSON>& body, QVCHeaders headers,
                         std::shared_ptr<QVCErrorResponse> error)
    : QVCResponse(body ? QVCAnswerDocument::fromJSON(*body).document : nullptr, std::move(headers), std::move(error)) {}

std::optional<QVCAnswerValue> QVCResponse::body() const {
    if (!document_) {
        return std::nullopt;
    }
    return document_->root();
}

std::optional<QVCJSON> QVCResponse::bodyJSON() const {
    if (!document_) {
        return std::nullopt;
    }
    return QVCAnswerDocument::toJSON(document_->root());
}

bool QVCResponse::containsValueForKey(std::string_view key) const {
    return objectForKey(key).has_value();
}

std::optional<QVCAnswerValue> QVCResponse::objectForKey(std::string_view key) const {
    if (!document_) {
        return std::nullopt;
    }
    return QVCAnswerDocument::find(document_->root(), key);
}

std::optional<std::string> QVCResponse::headerValue(const std::string& name) const {
    auto field = headers_.find(name);
    if (field == headers_.end()) {
        return std::nullopt;
    }
    return field->second;
}
