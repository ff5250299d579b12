#include "bench/AnswerFromText.h"

#include <utility>

#include "platform/QVCJSONParser.h"

namespace qvcbench {

QVCResponse responseFromText(std::string text) {
    QVCJSONParser::Result parsed = QVCJSONParser::parse(text);
    if (!parsed.value) {
        return QVCResponse(std::nullopt, {},
                           QVCErrorResponse::initWithErrorMessages({"answer is not JSON (" + parsed.error + ")"},
                                                                   QVCErrorResponse::Kind::Transport));
    }
    return QVCResponse(std::move(parsed.value), {}, nullptr);
}

}  // namespace qvcbench
