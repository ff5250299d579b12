#include "platform/QVCTransportThread.h"

#include <utility>

#include "platform/QVCDeliveryScope.h"

void QVCTransportThread::setExceptionHook(ExceptionHook hook) {
    std::lock_guard<std::mutex> lock(mutex_);
    hook_ = std::move(hook);
}

void QVCTransportThread::deliver(const QVCResponseCompletion& completion, const QVCResponse& response) const {
    if (!completion) {
        return;
    }
    QVCDeliveryScope delivering;
    try {
        completion(response);
    } catch (...) {
        ExceptionHook hook;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            hook = hook_;
        }
        if (hook) {
            try {
                hook(std::current_exception());
            } catch (...) {
                // The hook is the last stop: nothing may leave the transport's thread.
            }
        }
    }
}

void QVCTransportThread::deliver(const QVCResponseCompletion& completion, const std::string& method,
                                 const std::string& path, const std::function<QVCResponse()>& answer) const {
    deliver(completion, computed(method, path, answer));
}

QVCResponse QVCTransportThread::computed(const std::string& method, const std::string& path,
                                         const std::function<QVCResponse()>& answer) {
    try {
        return answer();
    } catch (const std::exception& exception) {
        return answerFailure(method, path, exception.what());
    } catch (...) {
        return answerFailure(method, path, "an exception of unknown type");
    }
}

void QVCTransportThread::start(std::function<void()> loop) {
    thread_ = std::thread(std::move(loop));
}

void QVCTransportThread::finish() {
    if (!thread_.joinable()) {
        return;
    }
    if (isCurrentThread()) {
        thread_.detach();
    } else {
        thread_.join();
    }
}

bool QVCTransportThread::isCurrentThread() const {
    return thread_.get_id() == std::this_thread::get_id();
}

QVCResponse QVCTransportThread::cancelled(const std::string& method, const std::string& path) {
    return QVCResponse(std::nullopt, {},
                       QVCErrorResponse::initWithErrorMessages({method + " " + path + ": cancelled"},
                                                               QVCErrorResponse::Kind::Cancelled));
}

QVCResponse QVCTransportThread::answerFailure(const std::string& method, const std::string& path,
                                              const std::string& reason) {
    return QVCResponse(std::nullopt, {},
                       QVCErrorResponse::initWithErrorMessages(
                           {method + " " + path + ": the answer could not be made (" + reason + ")"}));
}
