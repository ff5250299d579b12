#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/QVCPlatformConfiguration.h"
#include "platform/QVCRetryPolicy.h"
#include "platform/QVCTransportWorker.h"

/// A live request ready to go: the whole URL, the header lines (credentials
/// included) and, for a POST, the body's text.
struct QVCHTTPRequest : QVCTransportRequest {
    std::string url;
    std::string bodyText;
    std::vector<std::string> headerLines;
    QVCRetryPolicy::Clock::time_point deadline;  // the end of the request's budget
    QVCRetryPolicy::Clock::time_point due;       // when a waiting retry may start
    int retries = 0;
};

/// The live transport's backend: one curl multi handle that runs every
/// request of an engine concurrently over one bounded connection pool
/// (HTTP/2 multiplexed where the service offers it over TLS), retries what
/// may pass (QVCRetryPolicy) and traces each attempt.
class QVCCurlLoop : public QVCTransportBackend {
public:
    /// configuration is bounded first.
    explicit QVCCurlLoop(const QVCPlatformConfiguration& configuration);
    ~QVCCurlLoop() override;

    void start(std::unique_ptr<QVCTransportRequest> request, Answered& answered) override;
    void advance(long maxWaitMs, Answered& answered) override;
    void wake() override;
    std::vector<std::unique_ptr<QVCTransportRequest>> takeRequestsOf(const QVCTransportClient& client) override;

private:
    struct Attempt;
    void begin(std::unique_ptr<QVCHTTPRequest> request, Answered& answered);
    void setOptions(Attempt& attempt) const;
    void finish(void* easy, int result, Answered& answered);
    QVCResponse outcomeOf(Attempt& attempt, int result, bool& mayPass) const;
    void trace(const Attempt& attempt, const QVCResponse& response) const;
    /// An easy handle kept from an earlier attempt, or a new one.
    void* takeEasy();
    void keepEasy(void* easy);
    void startDueRetries(Answered& answered);
    long waitFor(long maxWaitMs) const;

    QVCPlatformConfiguration configuration_;
    QVCRetryPolicy retryPolicy_;
    void* multi_;
    std::map<void*, std::unique_ptr<Attempt>> active_;
    std::vector<std::unique_ptr<QVCHTTPRequest>> waiting_;
    std::vector<void*> idle_;
};
