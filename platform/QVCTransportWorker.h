#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/QVCPlatformExport.h"
#include "platform/QVCWebServiceHandler.h"

class QVCTransportClient;

/// One request as a transport worker tracks it. Transports derive their own
/// request kinds from it.
struct QVCPLATFORM_EXPORT QVCTransportRequest {
    virtual ~QVCTransportRequest() = default;
    std::string method;
    std::string path;
    QVCResponseCompletion completion;
    std::shared_ptr<QVCTransportClient> client;
    /// Set when the answer was known before any work (a refused request).
    std::optional<QVCResponse> ready;
};

/// What a worker drives on its loop thread: the curl event loop, or the
/// reader of simulation files. Every method is called on the loop thread,
/// except wake.
class QVCPLATFORM_EXPORT QVCTransportBackend {
public:
    /// Requests that have their answer.
    using Answered = std::vector<std::pair<std::unique_ptr<QVCTransportRequest>, QVCResponse>>;

    virtual ~QVCTransportBackend() = default;
    /// Takes up a request; when it is answered at once, the answer goes to answered.
    virtual void start(std::unique_ptr<QVCTransportRequest> request, Answered& answered) = 0;
    /// Moves the work in progress on, waiting for progress at most maxWaitMs
    /// (0: not at all) unless woken; what gets its answer goes to answered.
    virtual void advance(long maxWaitMs, Answered& answered) = 0;
    /// Ends advance's wait early; called from any thread.
    virtual void wake() = 0;
    /// Removes the requests of client still in progress and hands them back.
    virtual std::vector<std::unique_ptr<QVCTransportRequest>> takeRequestsOf(const QVCTransportClient& client) = 0;
};

/// One handler's place on a worker: its exception hook and its strand. The
/// answers of one client are delivered one at a time, in the order they came.
class QVCPLATFORM_EXPORT QVCTransportClient {
public:
    /// Receives an exception that escaped an answer callback.
    using ExceptionHook = std::function<void(std::exception_ptr exception)>;

    void setExceptionHook(ExceptionHook hook);
    /// Calls completion with response inside a delivery scope. An exception
    /// escaping it goes to the hook; one escaping the hook as well is dropped.
    void deliver(const QVCResponseCompletion& completion, const QVCResponse& response) const;

private:
    friend class QVCTransportWorker;
    struct Delivery {
        std::string method;
        std::string path;
        QVCResponseCompletion completion;
        QVCResponse response;
    };

    mutable std::mutex hookMutex_;
    ExceptionHook hook_;
    // Guarded by the worker's mutex.
    std::deque<Delivery> ready_;
    bool scheduled_ = false;  // queued for delivery, or being delivered
    bool closed_ = false;     // its handler is gone: what is left is cancelled
    std::size_t outstanding_ = 0;
};

/// The thread(s) that serve many handlers at once: a queue of requests, a
/// backend doing the work, a strand per client, cancellation of one client's
/// requests, and delivery. With one delivery thread answers are delivered on
/// the loop thread itself; with more, on that many threads besides it.
/// No thread runs until the first request.
class QVCPLATFORM_EXPORT QVCTransportWorker : public std::enable_shared_from_this<QVCTransportWorker> {
public:
    QVCTransportWorker(std::unique_ptr<QVCTransportBackend> backend, int deliveryThreads);
    ~QVCTransportWorker();
    QVCTransportWorker(const QVCTransportWorker&) = delete;
    QVCTransportWorker& operator=(const QVCTransportWorker&) = delete;

    std::shared_ptr<QVCTransportClient> addClient();
    /// Queues request; starts the threads on the first one.
    void submit(std::unique_ptr<QVCTransportRequest> request);
    /// Cancels every request of client not yet delivered ("cancelled" error
    /// records) and, unless called on one of this worker's delivery threads,
    /// waits until the client's last completion has returned.
    void close(const std::shared_ptr<QVCTransportClient>& client);
    /// Ends the threads once every request is answered; joins them unless
    /// called on one of them.
    void stop();

    /// The answer given to a request that was cancelled before it was answered.
    static QVCResponse cancelled(const std::string& method, const std::string& path);
    /// The answer given to a request whose answer could not be computed:
    /// "METHOD path: the answer could not be made (reason)", of kind General.
    static QVCResponse answerFailure(const std::string& method, const std::string& path, const std::string& reason);
    /// The response answer computes; an exception escaping it becomes answerFailure.
    static QVCResponse computed(const std::string& method, const std::string& path,
                                const std::function<QVCResponse()>& answer);

private:
    void startThreads();
    /// Hands the answer of a request to its client's strand.
    void answer(std::unique_ptr<QVCTransportRequest> request, QVCResponse response);
    void answerAll(QVCTransportBackend::Answered& answered);
    void runLoop();
    void runDeliveries();
    /// With one delivery thread, delivers what waits on the loop thread itself.
    void deliverHere();
    /// Delivers the next answer waiting on a strand; false when none waits.
    bool deliverOne();
    /// Starts the requests taken from the queue, and cancels those of closed clients.
    void take(std::deque<std::unique_ptr<QVCTransportRequest>>& taken,
              const std::vector<std::shared_ptr<QVCTransportClient>>& closing);
    bool onOwnThread() const;

    std::unique_ptr<QVCTransportBackend> backend_;
    const int deliveryThreads_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::unique_ptr<QVCTransportRequest>> incoming_;
    std::deque<std::shared_ptr<QVCTransportClient>> runnable_;
    std::vector<std::shared_ptr<QVCTransportClient>> closing_;
    std::size_t outstanding_ = 0;
    bool started_ = false;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

/// A worker shared by every handler of one process that asks with the same
/// key: made by the first, stopped when the last lets its engine go.
class QVCPLATFORM_EXPORT QVCTransportEngine {
public:
    explicit QVCTransportEngine(std::shared_ptr<QVCTransportWorker> worker);
    ~QVCTransportEngine();
    QVCTransportEngine(const QVCTransportEngine&) = delete;
    QVCTransportEngine& operator=(const QVCTransportEngine&) = delete;

    QVCTransportWorker& worker() { return *worker_; }

    /// The engine of key, made with make when none is alive.
    static std::shared_ptr<QVCTransportEngine> shared(const std::string& key,
                                                      const std::function<std::shared_ptr<QVCTransportWorker>()>& make);

private:
    std::shared_ptr<QVCTransportWorker> worker_;
};
