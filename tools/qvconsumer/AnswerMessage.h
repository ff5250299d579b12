#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/QVCWebServiceHandler.h"

/// Passes requests on to another handler and keeps the "message" text of the
/// last answer that carried one: the library reduces some refusals (a failed
/// authentication) to their status, and the tool shows the service's words
/// beside it.
class AnswerMessage : public QVCWebServiceHandler {
public:
    explicit AnswerMessage(std::shared_ptr<QVCWebServiceHandler> next) : next_(std::move(next)) {}

    void requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string& contextMessageType,
                         const std::optional<QVCHeaders>& headers, const std::optional<QVCJSON>& body,
                         std::int64_t responseType, const std::optional<std::string>& simulateFilePath,
                         QVCResponseCompletion completion) override;

    /// The message of the last answer, when it carried one.
    std::optional<std::string> last() const;

private:
    std::shared_ptr<QVCWebServiceHandler> next_;
    mutable std::mutex mutex_;
    std::optional<std::string> last_;
};
