#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/QVCErrorResponse.h"
#include "platform/QVCJSON.h"

/// Orders header names without regard to letter case, so that "location"
/// finds "Location".
struct QVCHeaderNameLess {
    using is_transparent = void;
    bool operator()(const std::string& left, const std::string& right) const;
};

/// Header fields of a request or an answer, keyed by name, case-insensitively.
using QVCHeaders = std::map<std::string, std::string, QVCHeaderNameLess>;

/// One answer to one request: the parsed body, the header fields and, when the
/// request failed, an error record.
class QVCResponse {
public:
    QVCResponse() = default;
    QVCResponse(std::optional<QVCJSON> body, QVCHeaders headers, std::shared_ptr<QVCErrorResponse> error);

    /// The parsed answer body; none when the answer had no body.
    const std::optional<QVCJSON>& body() const { return body_; }
    const QVCHeaders& headers() const { return headers_; }
    /// Why the request failed; null when it did not.
    const std::shared_ptr<QVCErrorResponse>& error() const { return error_; }

    /// Whether the body is an object holding a member named key (null members count).
    bool containsValueForKey(const std::string& key) const;
    /// The body's member named key; null when there is no body, the body is not
    /// an object or it has no such member.
    const QVCJSON* objectForKey(const std::string& key) const;
    /// The value of the header field named name (any letter case); none when absent.
    std::optional<std::string> headerValue(const std::string& name) const;

private:
    std::optional<QVCJSON> body_;
    QVCHeaders headers_;
    std::shared_ptr<QVCErrorResponse> error_;
};
