#include "testkit/QVCScriptedWebServiceHandler.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/QVCDeliveryScope.h"

QVCScriptedWebServiceHandler::QVCScriptedWebServiceHandler(Delivery delivery) : delivery_(delivery) {}

void QVCScriptedWebServiceHandler::answerWith(QVCResponse response) {
    std::lock_guard<std::mutex> lock(mutex_);
    script_.push_back(std::move(response));
}

void QVCScriptedWebServiceHandler::answerWithBody(QVCJSON body) {
    answerWith(QVCResponse(std::move(body), {}, nullptr));
}

std::vector<QVCRecordedRequest> QVCScriptedWebServiceHandler::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

std::size_t QVCScriptedWebServiceHandler::requestCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.size();
}

QVCRecordedRequest QVCScriptedWebServiceHandler::lastRequest() const {
    std::lock_guard<std::mutex> lock(mutex_);
    if (requests_.empty()) {
        throw std::out_of_range("the scripted web service handler has received no request");
    }
    return requests_.back();
}

QVCResponse QVCScriptedWebServiceHandler::takeAnswerFor(const QVCRecordedRequest& request) {
    if (script_.empty()) {
        return QVCResponse(std::nullopt, {},
                           QVCErrorResponse::initWithErrorMessages({"no scripted answer for request " +
                                                                    std::to_string(request.httpMethod) + " \"" +
                                                                    request.path + "\""}));
    }
    QVCResponse answer = std::move(script_.front());
    script_.pop_front();
    return answer;
}

void QVCScriptedWebServiceHandler::requestWithPath(const std::string& path, std::int64_t httpMethod,
                                                   const std::string& contextMessageType,
                                                   const std::optional<QVCHeaders>& headers,
                                                   const std::optional<QVCJSON>& body, std::int64_t responseType,
                                                   const std::optional<std::string>& simulateFilePath,
                                                   QVCResponseCompletion completion) {
    QVCRecordedRequest request{path, httpMethod,   contextMessageType, headers,
                               body, responseType, simulateFilePath,   std::move(completion)};
    std::unique_lock<std::mutex> lock(mutex_);
    requests_.push_back(std::move(request));
    if (delivery_ == Delivery::Deferred) {
        waiting_.push_back(requests_.size() - 1);
        return;
    }
    answer(requests_.size() - 1, lock);
}

void QVCScriptedWebServiceHandler::answer(std::size_t index, std::unique_lock<std::mutex>& lock) {
    QVCRecordedRequest& request = requests_[index];
    QVCResponse response = takeAnswerFor(request);
    QVCResponseCompletion completion = std::move(request.completion);
    request.completion = nullptr;
    lock.unlock();
    // A released answer is delivered as a transport delivers one: a wait for
    // an answer from inside it is refused rather than left hanging.
    std::optional<QVCDeliveryScope> delivering;
    if (delivery_ == Delivery::Deferred) {
        delivering.emplace();
    }
    if (completion) {
        completion(response);
    }
}

bool QVCScriptedWebServiceHandler::releaseNext() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (waiting_.empty()) {
        return false;
    }
    std::size_t index = waiting_.front();
    waiting_.pop_front();
    answer(index, lock);
    return true;
}

std::size_t QVCScriptedWebServiceHandler::releaseAll() {
    std::size_t answered = 0;
    while (releaseNext()) {
        ++answered;
    }
    return answered;
}
