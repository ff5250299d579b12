#include "platform/QVCTransportWorker.h"

#include <algorithm>
#include <map>

#include "platform/QVCDeliveryScope.h"

namespace {

/// The worker whose threads the current thread belongs to, if any.
thread_local const QVCTransportWorker* currentWorker = nullptr;

constexpr long idleWaitMs = 1000;

}  // namespace

void QVCTransportClient::setExceptionHook(ExceptionHook hook) {
    std::lock_guard<std::mutex> lock(hookMutex_);
    hook_ = std::move(hook);
}

void QVCTransportClient::deliver(const QVCResponseCompletion& completion, const QVCResponse& response) const {
    if (!completion) {
        return;
    }
    QVCDeliveryScope delivering;
    try {
        completion(response);
    } catch (...) {
        ExceptionHook hook;
        {
            std::lock_guard<std::mutex> lock(hookMutex_);
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

QVCTransportWorker::QVCTransportWorker(std::unique_ptr<QVCTransportBackend> backend, int deliveryThreads)
    : backend_(std::move(backend)), deliveryThreads_(std::max(1, deliveryThreads)) {}

QVCTransportWorker::~QVCTransportWorker() {
    for (auto& thread : threads_) {
        if (thread.joinable()) {
            thread.detach();
        }
    }
}

std::shared_ptr<QVCTransportClient> QVCTransportWorker::addClient() {
    return std::make_shared<QVCTransportClient>();
}

void QVCTransportWorker::submit(std::unique_ptr<QVCTransportRequest> request) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++outstanding_;
        ++request->client->outstanding_;
        incoming_.push_back(std::move(request));
        if (!started_) {
            startThreads();
        }
    }
    backend_->wake();
}

void QVCTransportWorker::startThreads() {
    started_ = true;
    auto self = shared_from_this();
    threads_.emplace_back([self] {
        currentWorker = self.get();
        self->runLoop();
    });
    for (int i = 1; i < deliveryThreads_; ++i) {
        threads_.emplace_back([self] {
            currentWorker = self.get();
            self->runDeliveries();
        });
    }
}

void QVCTransportWorker::runLoop() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!(stopping_ && outstanding_ == 0)) {
        std::deque<std::unique_ptr<QVCTransportRequest>> taken;
        taken.swap(incoming_);
        std::vector<std::shared_ptr<QVCTransportClient>> closing;
        closing.swap(closing_);
        // A request whose client is closed is not started: its handler is gone.
        std::vector<std::unique_ptr<QVCTransportRequest>> refused;
        for (auto& request : taken) {
            if (request->client->closed_) {
                refused.push_back(std::move(request));
            }
        }
        lock.unlock();
        QVCTransportBackend::Answered answered;
        for (auto& request : refused) {
            auto response = cancelled(request->method, request->path);
            answered.emplace_back(std::move(request), std::move(response));
        }
        answerAll(answered);
        take(taken, closing);
        deliverHere();
        backend_->advance(idleWaitMs, answered);
        answerAll(answered);
        deliverHere();
        lock.lock();
    }
}

void QVCTransportWorker::take(std::deque<std::unique_ptr<QVCTransportRequest>>& taken,
                              const std::vector<std::shared_ptr<QVCTransportClient>>& closing) {
    QVCTransportBackend::Answered answered;
    for (const auto& client : closing) {
        for (auto& request : backend_->takeRequestsOf(*client)) {
            auto response = cancelled(request->method, request->path);
            answered.emplace_back(std::move(request), std::move(response));
        }
    }
    for (auto& request : taken) {
        if (!request) {
            continue;
        }
        if (request->ready) {
            auto response = std::move(*request->ready);
            answered.emplace_back(std::move(request), std::move(response));
        } else {
            backend_->start(std::move(request), answered);
        }
    }
    answerAll(answered);
}

void QVCTransportWorker::answerAll(QVCTransportBackend::Answered& answered) {
    for (auto& [request, response] : answered) {
        answer(std::move(request), std::move(response));
    }
    answered.clear();
}

void QVCTransportWorker::answer(std::unique_ptr<QVCTransportRequest> request, QVCResponse response) {
    auto client = request->client;
    std::lock_guard<std::mutex> lock(mutex_);
    client->ready_.push_back(
        {std::move(request->method), std::move(request->path), std::move(request->completion), std::move(response)});
    if (!client->scheduled_) {
        client->scheduled_ = true;
        runnable_.push_back(std::move(client));
    }
    changed_.notify_one();
}

void QVCTransportWorker::deliverHere() {
    if (deliveryThreads_ == 1) {
        while (deliverOne()) {
        }
    }
}

void QVCTransportWorker::runDeliveries() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        changed_.wait(lock, [&] { return !runnable_.empty() || (stopping_ && outstanding_ == 0); });
        if (runnable_.empty()) {
            return;
        }
        lock.unlock();
        deliverOne();
        lock.lock();
    }
}

bool QVCTransportWorker::deliverOne() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (runnable_.empty()) {
        return false;
    }
    auto client = std::move(runnable_.front());
    runnable_.pop_front();
    {
        auto delivery = std::move(client->ready_.front());
        client->ready_.pop_front();
        const bool isCancelled = client->closed_;
        lock.unlock();
        client->deliver(delivery.completion,
                        isCancelled ? cancelled(delivery.method, delivery.path) : delivery.response);
        // The delivery (and what its completion captured) goes before the lock is taken again.
    }
    lock.lock();
    --client->outstanding_;
    --outstanding_;
    if (client->ready_.empty()) {
        client->scheduled_ = false;
    } else {
        runnable_.push_back(client);
    }
    changed_.notify_all();
    if (stopping_ && outstanding_ == 0) {
        backend_->wake();
    }
    return true;
}

void QVCTransportWorker::close(const std::shared_ptr<QVCTransportClient>& client) {
    std::unique_lock<std::mutex> lock(mutex_);
    client->closed_ = true;
    if (client->outstanding_ == 0) {
        return;
    }
    closing_.push_back(client);
    backend_->wake();
    changed_.notify_all();
    if (!onOwnThread()) {
        changed_.wait(lock, [&] { return client->outstanding_ == 0; });
    }
}

void QVCTransportWorker::stop() {
    std::vector<std::thread> threads;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        threads.swap(threads_);
        changed_.notify_all();
    }
    backend_->wake();
    for (auto& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();  // the last owner let go inside an answer callback: the thread runs out
        } else {
            thread.join();
        }
    }
}

bool QVCTransportWorker::onOwnThread() const {
    return currentWorker == this;
}

QVCResponse QVCTransportWorker::cancelled(const std::string& method, const std::string& path) {
    return QVCResponse(std::nullopt, {},
                       QVCErrorResponse::initWithErrorMessages({method + " " + path + ": cancelled"},
                                                               QVCErrorResponse::Kind::Cancelled));
}

QVCResponse QVCTransportWorker::answerFailure(const std::string& method, const std::string& path,
                                              const std::string& reason) {
    return QVCResponse(std::nullopt, {},
                       QVCErrorResponse::initWithErrorMessages(
                           {method + " " + path + ": the answer could not be made (" + reason + ")"}));
}

QVCResponse QVCTransportWorker::computed(const std::string& method, const std::string& path,
                                         const std::function<QVCResponse()>& answer) {
    try {
        return answer();
    } catch (const std::exception& exception) {
        return answerFailure(method, path, exception.what());
    } catch (...) {
        return answerFailure(method, path, "an exception of unknown type");
    }
}

QVCTransportEngine::QVCTransportEngine(std::shared_ptr<QVCTransportWorker> worker) : worker_(std::move(worker)) {}

QVCTransportEngine::~QVCTransportEngine() {
    worker_->stop();
}

std::shared_ptr<QVCTransportEngine> QVCTransportEngine::shared(
    const std::string& key, const std::function<std::shared_ptr<QVCTransportWorker>()>& make) {
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<QVCTransportEngine>> engines;
    std::lock_guard<std::mutex> lock(mutex);
    for (auto it = engines.begin(); it != engines.end();) {
        it = it->second.expired() ? engines.erase(it) : std::next(it);
    }
    auto& slot = engines[key];
    auto engine = slot.lock();
    if (!engine) {
        engine = std::make_shared<QVCTransportEngine>(make());
        slot = engine;
    }
    return engine;
}
