#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/QVCErrorResponse.h"
#include "platform/QVCPlatformExport.h"
#include "platform/QVCWebServiceHandler.h"

/// What the platform's own transports share: the thread that delivers their
/// answers, the boundary that keeps an answer callback's exception from
/// ending the process, and the hook that such an exception is handed to.
class QVCPLATFORM_EXPORT QVCTransportThread {
public:
    /// Receives an exception that escaped an answer callback.
    using ExceptionHook = std::function<void(std::exception_ptr exception)>;

    QVCTransportThread() = default;
    QVCTransportThread(const QVCTransportThread&) = delete;
    QVCTransportThread& operator=(const QVCTransportThread&) = delete;

    /// Sets the hook; by default such exceptions are dropped silently.
    void setExceptionHook(ExceptionHook hook);

    /// Calls completion with response. An exception escaping it goes to the
    /// hook; one escaping the hook as well is dropped.
    void deliver(const QVCResponseCompletion& completion, const QVCResponse& response) const;
    /// Calls completion with the response that answer computes, guarded as a
    /// whole: an exception escaping answer becomes the error record of
    /// answerFailure, so the completion is still called once.
    void deliver(const QVCResponseCompletion& completion, const std::string& method, const std::string& path,
                 const std::function<QVCResponse()>& answer) const;

    /// The response answer computes; an exception escaping it becomes an error
    /// record (see answerFailure) instead of leaving the transport's thread.
    static QVCResponse computed(const std::string& method, const std::string& path,
                                const std::function<QVCResponse()>& answer);

    /// Starts the thread running loop.
    void start(std::function<void()> loop);
    /// Waits for the thread to end. Called on the thread itself (the last owner
    /// released inside an answer callback) it lets the thread run out instead.
    void finish();
    bool isCurrentThread() const;

    /// The answer given to a request that was cancelled before it was answered.
    static QVCResponse cancelled(const std::string& method, const std::string& path);
    /// The answer given to a request whose answer could not be computed:
    /// "METHOD path: the answer could not be made (reason)", of kind General.
    static QVCResponse answerFailure(const std::string& method, const std::string& path, const std::string& reason);

private:
    mutable std::mutex mutex_;
    ExceptionHook hook_;
    std::thread thread_;
};
