#include "platform/QVCoreCP.h"

#include <utility>

#include "platform/QVCEnvironment.h"
#include "platform/QVCHTTPWebServiceHandler.h"
#include "platform/QVCSimulationWebServiceHandler.h"

namespace {

std::shared_ptr<QVCErrorResponse> refuseMissingConsumerID(const std::optional<std::string>& consumerID) {
    if (!consumerID || consumerID->empty()) {
        return QVCErrorResponse::initWithErrorMessages({"consumer id is absent or empty"});
    }
    return nullptr;
}

/// Answers every request with an error: no handler exists for the environment.
class QVCNoWebServiceHandler : public QVCWebServiceHandler {
public:
    explicit QVCNoWebServiceHandler(std::int64_t environment) : environment_(environment) {}

    void requestWithPath(const std::string& path, std::int64_t, const std::string&, const std::optional<QVCHeaders>&,
                         const std::optional<QVCJSON>&, std::int64_t, const std::optional<std::string>&,
                         QVCResponseCompletion completion) override {
        completion(QVCResponse(
            std::nullopt, {},
            QVCErrorResponse::initWithErrorMessages({"no web service handler for environment " +
                                                     std::to_string(environment_) + " (request \"" + path + "\")"},
                                                    QVCErrorResponse::Kind::Transport)));
    }

private:
    std::int64_t environment_;
};

}  // namespace

bool QVCoreCP::initWithAppID(const std::optional<std::string>& appID, const std::optional<std::string>& appKey,
                             std::shared_ptr<QVCCompanyInfo> companyInfo, const std::optional<std::string>& consumerID,
                             std::int64_t environment, const StatusCompletion& completion) {
    std::string missing;
    if (!appID || appID->empty()) {
        missing = "application id";
    } else if (!appKey || appKey->empty()) {
        missing = "application key";
    } else if (!companyInfo) {
        missing = "company information";
    }
    if (!missing.empty()) {
        if (completion) {
            completion(false,
                       QVCErrorResponse::initWithErrorMessages({"cannot initialise: " + missing + " is missing"}),
                       nullptr);
        }
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        appID_ = appID;
        appKey_ = appKey;
        companyInfo_ = std::move(companyInfo);
        consumerID_ = consumerID;
        environment_ = environment;
    }
    if (completion) {
        completion(true, nullptr, nullptr);
    }
    return true;
}

std::optional<std::string> QVCoreCP::appID() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return appID_;
}

std::optional<std::string> QVCoreCP::appKey() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return appKey_;
}

std::int64_t QVCoreCP::environment() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return environment_;
}

std::shared_ptr<QVCWebServiceHandler> QVCoreCP::webServiceHandler() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (handler_) {
            return handler_;
        }
    }
    auto made = makeDefaultWebServiceHandler();
    std::lock_guard<std::mutex> lock(mutex_);
    if (!handler_) {
        handler_ = std::move(made);
    }
    return handler_;
}

void QVCoreCP::setWebServiceHandler(std::shared_ptr<QVCWebServiceHandler> handler) {
    std::lock_guard<std::mutex> lock(mutex_);
    handler_ = std::move(handler);
}

QVCPlatformConfiguration QVCoreCP::platformConfiguration() const {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (configuration_) {
            return *configuration_;
        }
    }
    return QVCPlatformConfiguration::fromEnvironment();
}

void QVCoreCP::setPlatformConfiguration(QVCPlatformConfiguration configuration) {
    std::lock_guard<std::mutex> lock(mutex_);
    configuration_ = std::move(configuration);
}

void QVCoreCP::setAnswerExceptionHook(AnswerExceptionHook hook) {
    std::lock_guard<std::mutex> lock(answerExceptionHook_->mutex);
    answerExceptionHook_->hook = std::move(hook);
}

std::shared_ptr<QVCWebServiceHandler> QVCoreCP::makeDefaultWebServiceHandler() {
    // The handler's thread may outlive this object, so it shares the hook's holder rather than this.
    auto forward = [holder = answerExceptionHook_](std::exception_ptr exception) {
        AnswerExceptionHook hook;
        {
            std::lock_guard<std::mutex> lock(holder->mutex);
            hook = holder->hook;
        }
        if (hook) {
            hook(exception);
        }
    };
    switch (environment()) {
        case QVCEnvironmentSimulation: {
            auto handler = std::make_shared<QVCSimulationWebServiceHandler>();
            handler->setExceptionHook(forward);
            return handler;
        }
        case QVCEnvironmentLive: {
            auto handler = std::make_shared<QVCHTTPWebServiceHandler>(platformConfiguration(), appID(), appKey());
            handler->setExceptionHook(forward);
            return handler;
        }
        default: return std::make_shared<QVCNoWebServiceHandler>(environment());
    }
}

std::optional<std::string> QVCoreCP::consumerID() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return consumerID_;
}

void QVCoreCP::setConsumerID(const std::optional<std::string>& consumerID, const StatusCompletion& completion) {
    ConsumerIDValidator validator;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        validator = consumerIDValidator_;
    }
    auto refusal = validator ? validator(consumerID) : refuseMissingConsumerID(consumerID);
    if (!refusal) {
        std::lock_guard<std::mutex> lock(mutex_);
        consumerID_ = consumerID;
    }
    if (completion) {
        completion(!refusal, refusal, nullptr);
    }
}

void QVCoreCP::setConsumerIDValidator(ConsumerIDValidator validator) {
    std::lock_guard<std::mutex> lock(mutex_);
    consumerIDValidator_ = std::move(validator);
}

std::shared_ptr<QVCCompanyInfo> QVCoreCP::companyInfo() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return companyInfo_;
}

std::shared_ptr<QVCFacilityInfo> QVCoreCP::facilityInfo() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return facilityInfo_;
}

void QVCoreCP::setFacilityInfo(std::shared_ptr<QVCFacilityInfo> facilityInfo) {
    std::lock_guard<std::mutex> lock(mutex_);
    facilityInfo_ = std::move(facilityInfo);
}

void QVCoreCP::setPushDeviceToken(const std::optional<QVCJSON>& token) {
    std::lock_guard<std::mutex> lock(mutex_);
    pushDeviceToken_ = token;
}

std::optional<QVCJSON> QVCoreCP::pushDeviceToken() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return pushDeviceToken_;
}
