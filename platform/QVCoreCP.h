#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/QVCCompanyInfo.h"
#include "platform/QVCErrorResponse.h"
#include "platform/QVCFacilityInfo.h"
#include "platform/QVCJSON.h"
#include "platform/QVCPlatformConfiguration.h"
#include "platform/QVCPlatformExport.h"
#include "platform/QVCWebServiceHandler.h"

/// The platform's base of a service client: it holds the application's
/// credentials, the company and facility, the current consumer id, the
/// environment and the push token, and hands out the web service handler that
/// performs requests. Its state may be read and written from any thread.
class QVCPLATFORM_EXPORT QVCoreCP {
public:
    /// Reports the outcome of an operation of the platform: (success, error, exception).
    using StatusCompletion =
        std::function<void(bool success, std::shared_ptr<QVCErrorResponse> error, std::exception_ptr exception)>;
    /// Decides whether an id may become the current consumer id: null accepts it,
    /// an error record refuses it.
    using ConsumerIDValidator =
        std::function<std::shared_ptr<QVCErrorResponse>(const std::optional<std::string>& consumerID)>;

    virtual ~QVCoreCP() = default;
    QVCoreCP(const QVCoreCP&) = delete;
    QVCoreCP& operator=(const QVCoreCP&) = delete;

    std::optional<std::string> appID() const;
    std::optional<std::string> appKey() const;
    std::int64_t environment() const;

    /// The handler for the next request: the one set with setWebServiceHandler,
    /// otherwise the platform's default for the environment: in
    /// QVCEnvironmentSimulation a QVCSimulationWebServiceHandler, in
    /// QVCEnvironmentLive a QVCHTTPWebServiceHandler built from
    /// platformConfiguration() and the app id and key.
    virtual std::shared_ptr<QVCWebServiceHandler> webServiceHandler();
    void setWebServiceHandler(std::shared_ptr<QVCWebServiceHandler> handler);

    /// The settings of the live transport: the one set with
    /// setPlatformConfiguration, otherwise QVCPlatformConfiguration::fromEnvironment().
    QVCPlatformConfiguration platformConfiguration() const;
    /// Takes effect for the default handler, which is made on the first request.
    void setPlatformConfiguration(QVCPlatformConfiguration configuration);

    /// Receives an exception that escaped an answer callback on the default
    /// handler's thread (instead of it ending the process). Without a hook such
    /// exceptions are dropped. May be set or changed at any time.
    using AnswerExceptionHook = std::function<void(std::exception_ptr exception)>;
    void setAnswerExceptionHook(AnswerExceptionHook hook);

    /// The current consumer id, as text.
    virtual std::optional<std::string> consumerID() const;
    /// Makes consumerID current and reports through completion, once, before it
    /// returns: (true, null, null) when accepted, (false, error, null) when the
    /// validator refused it. The default validator refuses an absent or empty id.
    virtual void setConsumerID(const std::optional<std::string>& consumerID, const StatusCompletion& completion);
    void setConsumerIDValidator(ConsumerIDValidator validator);

    virtual std::shared_ptr<QVCCompanyInfo> companyInfo() const;
    /// The facility the application runs at; facility 0 until one is set.
    virtual std::shared_ptr<QVCFacilityInfo> facilityInfo() const;
    void setFacilityInfo(std::shared_ptr<QVCFacilityInfo> facilityInfo);

    /// Keeps the device's push token.
    virtual void setPushDeviceToken(const std::optional<QVCJSON>& token);
    std::optional<QVCJSON> pushDeviceToken() const;

protected:
    QVCoreCP() = default;

    /// The designated initialiser. Refuses (returns false) when the app id or
    /// the app key is absent or empty or the company information is null.
    /// completion, when set, is called once before this returns with
    /// (true, null, null) or (false, error naming what is missing, null).
    bool initWithAppID(const std::optional<std::string>& appID, const std::optional<std::string>& appKey,
                       std::shared_ptr<QVCCompanyInfo> companyInfo, const std::optional<std::string>& consumerID,
                       std::int64_t environment, const StatusCompletion& completion);

    /// The handler used when none was set; called once, on first use.
    virtual std::shared_ptr<QVCWebServiceHandler> makeDefaultWebServiceHandler();

private:
    mutable std::mutex mutex_;
    std::optional<std::string> appID_;
    std::optional<std::string> appKey_;
    std::int64_t environment_ = 0;
    std::shared_ptr<QVCWebServiceHandler> handler_;
    std::optional<QVCPlatformConfiguration> configuration_;
    struct HookHolder {
        std::mutex mutex;
        AnswerExceptionHook hook;
    };
    std::shared_ptr<HookHolder> answerExceptionHook_ = std::make_shared<HookHolder>();
    std::optional<std::string> consumerID_;
    ConsumerIDValidator consumerIDValidator_;
    std::shared_ptr<QVCCompanyInfo> companyInfo_;
    std::shared_ptr<QVCFacilityInfo> facilityInfo_ = std::make_shared<QVCFacilityInfo>();
    std::optional<QVCJSON> pushDeviceToken_;
};
