#include "bench/AnswerFromText.h"

#include <utility>

#include "platform/QVCAnswerDocument.h"

namespace qvcbench {

namespace {

QVCResponse responseFrom(QVCAnswerDocument::Parsed parsed) {
    if (!parsed.document) {
        return QVCResponse(std::nullopt, {},
                           QVCErrorResponse::initWithErrorMessages({"answer is not JSON (" + parsed.error + ")"},
                                                                   QVCErrorResponse::Kind::Transport));
    }
    return QVCResponse(std::move(parsed.document), {}, nullptr);
}

}  // namespace

QVCResponse responseFromText(std::string text) {
    return responseFrom(QVCAnswerDocument::parse(std::move(text)));
}

QVCResponse responseFromKeptText(std::string_view text) {
    return responseFrom(QVCAnswerDocument::parseCopyOf(text));
}

}  // namespace qvcbench
