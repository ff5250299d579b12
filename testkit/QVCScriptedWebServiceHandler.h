#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/QVCPlatformExport.h"
#include "platform/QVCWebServiceHandler.h"

/// One request as a QVCScriptedWebServiceHandler received it: its eight
/// arguments in order. The completion is kept only until it has been called,
/// so that a recorded request holds nothing alive that its answer captured.
struct QVCPLATFORM_EXPORT QVCRecordedRequest {
    std::string path;
    std::int64_t httpMethod = 0;
    std::string contextMessageType;
    std::optional<QVCHeaders> headers;
    std::optional<QVCJSON> body;
    std::int64_t responseType = 0;
    std::optional<std::string> simulateFilePath;
    QVCResponseCompletion completion;
};

/// A web service handler for tests: it records every request and answers each
/// with the next scripted response, in order. A request for which no answer
/// was scripted is answered with an error record naming it.
///
/// In Immediate delivery the answer is given inside requestWithPath, before it
/// returns. In Deferred delivery answers wait until the test calls releaseNext
/// or releaseAll, and are then given on the test's thread, oldest first,
/// inside a QVCDeliveryScope as the platform's transports give theirs.
class QVCPLATFORM_EXPORT QVCScriptedWebServiceHandler : public QVCWebServiceHandler {
public:
    enum class Delivery { Immediate, Deferred };

    explicit QVCScriptedWebServiceHandler(Delivery delivery = Delivery::Immediate);

    /// Scripts the answer to the next request that has not been answered yet.
    void answerWith(QVCResponse response);
    /// Scripts an answer with this body, no header and no error.
    void answerWithBody(QVCJSON body);

    /// Every request received so far, oldest first.
    std::vector<QVCRecordedRequest> requests() const;
    std::size_t requestCount() const;
    /// The most recent request; throws std::out_of_range when there is none.
    QVCRecordedRequest lastRequest() const;

    /// Deferred delivery: answers the oldest waiting request; false when none waits.
    bool releaseNext();
    /// Deferred delivery: answers waiting requests, including those issued
    /// while answering, until none waits. Returns how many were answered.
    std::size_t releaseAll();

    void requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string& contextMessageType,
                         const std::optional<QVCHeaders>& headers, const std::optional<QVCJSON>& body,
                         std::int64_t responseType, const std::optional<std::string>& simulateFilePath,
                         QVCResponseCompletion completion) override;

private:
    QVCResponse takeAnswerFor(const QVCRecordedRequest& request);
    /// Gives request index its answer; unlocks lock before calling the completion.
    void answer(std::size_t index, std::unique_lock<std::mutex>& lock);

    Delivery delivery_;
    mutable std::mutex mutex_;
    std::vector<QVCRecordedRequest> requests_;
    std::deque<QVCResponse> script_;
    std::deque<std::size_t> waiting_;  // indices into requests_
};
