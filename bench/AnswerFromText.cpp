#include "bench/AnswerFromText.h"

#include <utility>

#include "platform/QVCAnswerDocument.h"

namespace qvcbench {

QVCResponse responseFromText(std::string text) {
    auto parsed = QVCAnswerDocument::parse(std::move(text));
    if (!parsed.document) {
        return QVCResponse(std::nullopt, {},
                           QVCErrorResponse::initWithErrorMessages({"answer is not JSON (" + parsed.error + ")"},
                                                                   QVCErrorResponse::Kind::Transport));
    }
    return QVCResponse(std::move(parsed.document), {}, nullptr);
}

}  // namespace qvcbench
