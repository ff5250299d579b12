#include "platform/QVCErrorResponse.h"

#include <utility>

QVCErrorResponse::QVCErrorResponse(std::vector<std::string> messages, Kind kind, std::optional<int> httpStatus)
    : messages_(std::move(messages)), kind_(kind), httpStatus_(httpStatus) {}

std::shared_ptr<QVCErrorResponse> QVCErrorResponse::initWithErrorMessages(std::vector<std::string> messages) {
    return initWithErrorMessages(std::move(messages), Kind::General);
}

std::shared_ptr<QVCErrorResponse> QVCErrorResponse::initWithErrorMessages(std::vector<std::string> messages, Kind kind,
                                                                          std::optional<int> httpStatus) {
    return std::make_shared<QVCErrorResponse>(std::move(messages), kind, httpStatus);
}

std::string QVCErrorResponse::description() const {
    std::string text;
    if (httpStatus_) {
        text = "HTTP " + std::to_string(*httpStatus_) + ": ";
    }
    for (std::size_t i = 0; i < messages_.size(); ++i) {
        if (i > 0) {
            text += "; ";
        }
        text += messages_[i];
    }
    return text;
}
