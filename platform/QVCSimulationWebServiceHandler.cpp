#include "platform/QVCSimulationWebServiceHandler.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "platform/QVCRequestShapes.h"
#include "platform/QVCSimulationFile.h"

namespace {

struct Job {
    std::string method;
    std::string path;  // the refused request's shape when refused is set
    std::optional<std::string> file;
    QVCResponseCompletion completion;
    std::optional<QVCResponse> refused;
};

}  // namespace

struct QVCSimulationWebServiceHandler::State {
    QVCTransportThread thread;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Job> jobs;
    bool stopping = false;

    // Touched only on the handler's thread.
    bool attempted = false;
    std::string loadedPath;
    std::shared_ptr<QVCSimulationFile> loaded;
    std::string loadError;

    QVCResponse answer(const Job& job) {
        if (job.refused) {
            return *job.refused;
        }
        if (!job.file) {
            return QVCResponse(std::nullopt, {},
                               QVCErrorResponse::initWithErrorMessages(
                                   {job.method + " " + job.path + ": no simulation file was given for the request"}));
        }
        if (!attempted || loadedPath != *job.file) {
            attempted = true;
            loadedPath = *job.file;
            loaded.reset();
            loadError.clear();
            try {
                loaded = QVCSimulationFile::load(loadedPath);
            } catch (const QVCSimulationFile::Invalid& invalid) {
                loadError = invalid.what();
            }
        }
        if (!loaded) {
            return QVCResponse(
                std::nullopt, {},
                QVCErrorResponse::initWithErrorMessages({job.method + " " + job.path + ": " + loadError}));
        }
        return loaded->answer(job.method, job.path);
    }

    void run() {
        std::unique_lock<std::mutex> lock(mutex);
        while (true) {
            wake.wait(lock, [&] { return stopping || !jobs.empty(); });
            if (jobs.empty()) {
                return;
            }
            Job job = std::move(jobs.front());
            jobs.pop_front();
            bool cancelled = stopping;
            lock.unlock();
            if (cancelled) {
                thread.deliver(job.completion, QVCTransportThread::cancelled(job.method, job.path));
            } else {
                thread.deliver(job.completion, job.method, job.path, [&] { return answer(job); });
            }
            job = Job();  // release what the callback captured before the lock is taken again
            lock.lock();
        }
    }
};

QVCSimulationWebServiceHandler::QVCSimulationWebServiceHandler() : state_(std::make_shared<State>()) {
    state_->thread.start([state = state_] { state->run(); });
}

QVCSimulationWebServiceHandler::~QVCSimulationWebServiceHandler() {
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->stopping = true;
    }
    state_->wake.notify_all();
    state_->thread.finish();
}

void QVCSimulationWebServiceHandler::setExceptionHook(QVCTransportThread::ExceptionHook hook) {
    state_->thread.setExceptionHook(std::move(hook));
}

void QVCSimulationWebServiceHandler::requestWithPath(const std::string& path, std::int64_t httpMethod,
                                                     const std::string&, const std::optional<QVCHeaders>&,
                                                     const std::optional<QVCJSON>&, std::int64_t,
                                                     const std::optional<std::string>& simulateFilePath,
                                                     QVCResponseCompletion completion) {
    std::string method = QVCHTTPMethodName(httpMethod);
    // Checked as the live transport checks it, so that both answer the same requests.
    const auto checked = QVCRequestShapes::check(method, path);
    Job job{method, checked.target ? path : checked.shape, simulateFilePath, std::move(completion),
            checked.target ? std::nullopt : std::optional<QVCResponse>(checked.refusal(method))};
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        if (!state_->stopping) {
            state_->jobs.push_back(std::move(job));
            state_->wake.notify_one();
            return;
        }
    }
    state_->thread.deliver(job.completion, QVCTransportThread::cancelled(job.method, job.path));
}
