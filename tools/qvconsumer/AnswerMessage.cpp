#include "AnswerMessage.h"

#include "platform/QVCResponse.h"

void AnswerMessage::requestWithPath(const std::string& path, std::int64_t httpMethod,
                                    const std::string& contextMessageType, const std::optional<QVCHeaders>& headers,
                                    const std::optional<QVCJSON>& body, std::int64_t responseType,
                                    const std::optional<std::string>& simulateFilePath,
                                    QVCResponseCompletion completion) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        last_.reset();
    }
    next_->requestWithPath(path, httpMethod, contextMessageType, headers, body, responseType, simulateFilePath,
                           [this, completion = std::move(completion)](const QVCResponse& response) {
                               const auto message = response.objectForKey("message");
                               std::string_view text;
                               if (message && message->get_string().get(text) == simdjson::SUCCESS) {
                                   std::lock_guard<std::mutex> lock(mutex_);
                                   last_ = std::string(text);
                               }
                               completion(response);
                           });
}

std::optional<std::string> AnswerMessage::last() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return last_;
}
