#include "bench/TextAnswerHandler.h"

#include <utility>

#include "bench/AnswerFromText.h"

namespace qvcbench {

TextAnswerHandler::TextAnswerHandler(std::string answerText, std::string expectedPath, std::int64_t expectedMethod,
                                     Use use)
    : answerText_(std::move(answerText)),
      expectedPath_(std::move(expectedPath)),
      expectedMethod_(expectedMethod),
      use_(use) {}

void TextAnswerHandler::requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string&,
                                        const std::optional<QVCHeaders>&, const std::optional<QVCJSON>&, std::int64_t,
                                        const std::optional<std::string>&, QVCResponseCompletion completion) {
    ++requests_;
    if (use_ == Use::Once && requests_ > 1) {
        ++unexpected_;
        completion(QVCResponse(std::nullopt, {},
                               QVCErrorResponse::initWithErrorMessages({"this handler answers one request only"})));
        return;
    }
    if (path != expectedPath_ || httpMethod != expectedMethod_) {
        ++unexpected_;
        completion(QVCResponse(std::nullopt, {},
                               QVCErrorResponse::initWithErrorMessages(
                                   {"unexpected request " + std::to_string(httpMethod) + " " + path + ", expected " +
                                    std::to_string(expectedMethod_) + " " + expectedPath_})));
        return;
    }
    if (use_ == Use::Once) {
        completion(responseFromText(std::move(answerText_)));
    } else if (use_ == Use::FreshCopy) {
        completion(responseFromText(std::string(answerText_)));
    } else {
        completion(responseFromKeptText(answerText_));
    }
}

}  // namespace qvcbench
