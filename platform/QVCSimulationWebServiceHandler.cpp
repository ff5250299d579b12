#include "platform/QVCSimulationWebServiceHandler.h"

#include <condition_variable>
#include <mutex>
#include <utility>

#include "platform/QVCRequestShapes.h"
#include "platform/QVCSimulationFile.h"

struct QVCSimulationWebServiceHandler::LoadedFile {
    bool attempted = false;
    std::string path;
    std::shared_ptr<QVCSimulationFile> file;
    std::string error;

    /// The file at path, read once until another path is named.
    QVCSimulationFile* at(const std::string& wanted) {
        if (!attempted || path != wanted) {
            attempted = true;
            path = wanted;
            file.reset();
            error.clear();
            try {
                file = QVCSimulationFile::load(path);
            } catch (const QVCSimulationFile::Invalid& invalid) {
                error = invalid.what();
            }
        }
        return file.get();
    }
};

namespace {

struct SimulationRequest : QVCTransportRequest {
    std::optional<std::string> file;
    std::shared_ptr<QVCSimulationWebServiceHandler::LoadedFile> loaded;
};

QVCResponse answerOf(SimulationRequest& request) {
    auto failure = [&](const std::string& message) {
        return QVCResponse(
            std::nullopt, {},
            QVCErrorResponse::initWithErrorMessages({request.method + " " + request.path + ": " + message}));
    };
    if (!request.file) {
        return failure("no simulation file was given for the request");
    }
    QVCSimulationFile* file = request.loaded->at(*request.file);
    return file ? file->answer(request.method, request.path) : failure(request.loaded->error);
}

/// Answers each request from its file as soon as it is taken up.
class SimulationBackend : public QVCTransportBackend {
public:
    void start(std::unique_ptr<QVCTransportRequest> request, Answered& answered) override {
        auto& simulated = static_cast<SimulationRequest&>(*request);
        auto response =
            QVCTransportWorker::computed(simulated.method, simulated.path, [&] { return answerOf(simulated); });
        answered.emplace_back(std::move(request), std::move(response));
    }

    void advance(long maxWaitMs, Answered&) override {
        std::unique_lock<std::mutex> lock(mutex_);
        woken_.wait_for(lock, std::chrono::milliseconds(maxWaitMs), [&] { return wakeup_; });
        wakeup_ = false;
    }

    void wake() override {
        std::lock_guard<std::mutex> lock(mutex_);
        wakeup_ = true;
        woken_.notify_one();
    }

    std::vector<std::unique_ptr<QVCTransportRequest>> takeRequestsOf(const QVCTransportClient&) override {
        return {};  // nothing is in progress between turns
    }

private:
    std::mutex mutex_;
    std::condition_variable woken_;
    bool wakeup_ = false;
};

}  // namespace

QVCSimulationWebServiceHandler::QVCSimulationWebServiceHandler()
    : engine_(QVCTransportEngine::shared(
          "simulation", [] { return std::make_shared<QVCTransportWorker>(std::make_unique<SimulationBackend>(), 1); })),
      client_(engine_->worker().addClient()),
      file_(std::make_shared<LoadedFile>()) {}

QVCSimulationWebServiceHandler::~QVCSimulationWebServiceHandler() {
    engine_->worker().close(client_);
}

void QVCSimulationWebServiceHandler::setExceptionHook(QVCTransportClient::ExceptionHook hook) {
    client_->setExceptionHook(std::move(hook));
}

void QVCSimulationWebServiceHandler::requestWithPath(const std::string& path, std::int64_t httpMethod,
                                                     const std::string&, const std::optional<QVCHeaders>&,
                                                     const std::optional<QVCJSON>&, std::int64_t,
                                                     const std::optional<std::string>& simulateFilePath,
                                                     QVCResponseCompletion completion) {
    auto request = std::make_unique<SimulationRequest>();
    request->method = QVCHTTPMethodName(httpMethod);
    // Checked as the live transport checks it, so that both answer the same requests.
    const auto checked = QVCRequestShapes::check(request->method, path);
    request->path = checked.target ? path : checked.shape;
    if (!checked.target) {
        request->ready = checked.refusal(request->method);
    }
    request->file = simulateFilePath;
    request->loaded = file_;
    request->completion = std::move(completion);
    request->client = client_;
    engine_->worker().submit(std::move(request));
}
