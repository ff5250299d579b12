#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/QVCWebServiceHandler.h"

namespace qvcbench {

/// A web service handler that answers every request inside requestWithPath,
/// on the caller's thread, with a response made from one fixed answer text
/// through responseFromKeptText (the handler keeps its text, as the peers
/// keep theirs), or, for a handler made for one answer, through
/// responseFromText, giving the text away. It
/// stands in for a transport so that a benchmark measures what the library
/// does with an answer and nothing of a network or a thread hand-over.
///
/// A request for another path or method than the expected one is answered
/// with an error record, so that a benchmark aimed at the wrong operation
/// fails instead of measuring something else.
class TextAnswerHandler : public QVCWebServiceHandler {
public:
    /// Repeatedly: every answer reads the kept text. Once: the first answer
    /// takes the text. FreshCopy: every answer takes a new copy of it, as a
    /// live transport hands over each answer in a buffer of its own.
    enum class Use { Repeatedly, Once, FreshCopy };

    /// expectedMethod: 0 for a read, 1 for a send, as in requestWithPath. A
    /// handler for Use::Once hands its text to the first answer (as a
    /// transport hands over the bytes it received) and answers any later
    /// request with an error record.
    TextAnswerHandler(std::string answerText, std::string expectedPath, std::int64_t expectedMethod = 0,
                      Use use = Use::Repeatedly);

    void requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string& contextMessageType,
                         const std::optional<QVCHeaders>& headers, const std::optional<QVCJSON>& body,
                         std::int64_t responseType, const std::optional<std::string>& simulateFilePath,
                         QVCResponseCompletion completion) override;

    /// Requests received so far, answered or refused.
    std::size_t requests() const { return requests_; }
    /// Requests refused because they were not for the expected path and method.
    std::size_t unexpected() const { return unexpected_; }

private:
    std::string answerText_;
    std::string expectedPath_;
    std::int64_t expectedMethod_;
    Use use_;
    std::size_t requests_ = 0;
    std::size_t unexpected_ = 0;
};

}  // namespace qvcbench
