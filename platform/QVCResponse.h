#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/QVCAnswerDocument.h"
#include "platform/QVCErrorResponse.h"
#include "platform/QVCJSON.h"
#include "platform/QVCPlatformExport.h"

/// Orders header names without regard to letter case, so that "location"
/// finds "Location".
struct QVCPLATFORM_EXPORT QVCHeaderNameLess {
    /// Lets a lookup take any text type without a copy.
    using is_transparent = void;
    /// Whether left comes before right, letter case ignored.
    bool operator()(const std::string& left, const std::string& right) const;
};

/// Header fields of a request or an answer, keyed by name, case-insensitively.
using QVCHeaders = std::map<std::string, std::string, QVCHeaderNameLess>;

/// One answer to one request: the parsed body, the header fields and, when the
/// request failed, an error record. Copies share the parsed body.
class QVCPLATFORM_EXPORT QVCResponse {
public:
    /// An answer without body, header fields or error.
    QVCResponse() = default;
    /// An answer of the given body, header fields and error record (null on success).
    QVCResponse(std::shared_ptr<const QVCAnswerDocument> document, QVCHeaders headers,
                std::shared_ptr<QVCErrorResponse> error);
    /// An answer whose body a host or a test built in memory: it is written as
    /// JSON text and parsed once, so that it reads exactly as a received one.
    QVCResponse(const std::optional<QVCJSON>& body, QVCHeaders headers, std::shared_ptr<QVCErrorResponse> error);

    /// The parsed answer body; none when the answer had no body. The value is
    /// valid while this response (or a copy of it) lives.
    std::optional<QVCAnswerValue> body() const;
    /// A copy of the body as an in-memory JSON value; none without a body.
    std::optional<QVCJSON> bodyJSON() const;
    /// The parsed body, shared by the copies of this answer; null without a body.
    const std::shared_ptr<const QVCAnswerDocument>& document() const { return document_; }
    /// The answer's header fields.
    const QVCHeaders& headers() const { return headers_; }
    /// Why the request failed; null when it did not.
    const std::shared_ptr<QVCErrorResponse>& error() const { return error_; }

    /// Whether the body is an object holding a member named key (null members count).
    bool containsValueForKey(std::string_view key) const;
    /// The body's member named key; none when there is no body, the body is not
    /// an object or it has no such member.
    std::optional<QVCAnswerValue> objectForKey(std::string_view key) const;
    /// The value of the header field named name (any letter case); none when absent.
    std::optional<std::string> headerValue(const std::string& name) const;

private:
    std::shared_ptr<const QVCAnswerDocument> document_;
    QVCHeaders headers_;
    std::shared_ptr<QVCErrorResponse> error_;
};
