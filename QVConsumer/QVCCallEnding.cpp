#include "QVConsumer/QVCCallEnding.h"

std::shared_ptr<QVCErrorResponse> QVCCallEndingError(QVCCallEnding ending, const std::string& operation,
                                                     const std::shared_ptr<QVCErrorResponse>& detail) {
    using Kind = QVCErrorResponse::Kind;
    std::string message;
    switch (ending) {
        case QVCCallEnding::Completed: return nullptr;
        case QVCCallEnding::NoAnswer: message = "the operation ended without an answer"; break;
        case QVCCallEnding::TimedOut: message = "no answer before the deadline"; break;
        case QVCCallEnding::OnDeliveryThread:
            message = "waited for on a thread that delivers answers, where the answer cannot arrive";
            break;
    }
    message = operation + ": " + message;
    if (detail) {
        message += " (" + detail->description() + ")";
    }
    return QVCErrorResponse::initWithErrorMessages({message},
                                                   ending == QVCCallEnding::TimedOut ? Kind::Timeout : Kind::General);
}
