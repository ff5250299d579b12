#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/QVCCurlLoop.h"
#include "platform/QVCPlatformConfiguration.h"
#include "platform/QVCPlatformExport.h"
#include "platform/QVCTransportWorker.h"
#include "platform/QVCWebServiceHandler.h"

/// The web service handler of the live environment: it sends each request to
/// the service over HTTP(S) with libcurl.
///
/// - httpMethod 0 is a GET without body, 1 a POST carrying the body as JSON.
///   Before anything is sent, the method and path are checked against the
///   library's requests (QVCRequestShapes): a path of another shape is
///   refused with an error of kind PathRefused, and the inserted values of one
///   that fits are percent-encoded. The result is joined to the configured
///   service root and sent as it is (libcurl does not normalise it).
/// - The application id and key travel on every request as the header fields
///   QVCPlatformConfiguration::appIDHeader and appKeyHeader. They are never
///   written into an error record.
/// - The answer becomes one QVCResponse: the parsed JSON body (also for error
///   statuses), the header fields, and an error record of the matching kind
///   for every failure. Redirects are not followed.
/// - https answers are accepted only from a certificate that verifies (unless
///   verifyPeer / verifyHost are turned off); a failed verification or an
///   unreadable caBundlePath ends with a Transport error that says what to set.
/// - GETs are retried after transient failures (connection failures, timeouts,
///   429, 502, 503, 504) with exponential back-off and jitter, honouring
///   Retry-After within the request's budget (QVCPlatformConfiguration::
///   requestBudget); a longer Retry-After ends the request with that answer.
///   A POST is retried only when it never left the client; a POST that may
///   have reached the service ends with an OutcomeUnknown error. A POST always
///   goes out on a new connection, because libcurl silently sends a request
///   again when a kept-alive connection dies under it.
/// - Durations and retries of the configuration are bounded first
///   (QVCPlatformConfiguration::bounded).
///
/// Every live handler of the process with the same service root, application
/// id and key and settings shares one engine: one thread driving a curl multi
/// handle over one bounded connection pool (QVCCurlLoop), made on the first
/// request and ended when the last such handler is destroyed. Making a
/// handler starts no thread. Answer callbacks of one handler are called one at
/// a time, in the order the answers completed, on the engine's thread (or on
/// one of its deliveryThreads). An exception escaping an answer callback goes
/// to this handler's exception hook. Destroying the handler answers every
/// request of its own in flight or waiting with a "cancelled" error record
/// and waits for those callbacks (unless it is destroyed inside one of them);
/// the other handlers' requests go on.
class QVCPLATFORM_EXPORT QVCHTTPWebServiceHandler : public QVCWebServiceHandler {
public:
    QVCHTTPWebServiceHandler(QVCPlatformConfiguration configuration, std::optional<std::string> appID,
                             std::optional<std::string> appKey);
    ~QVCHTTPWebServiceHandler() override;

    /// Receives an exception that escaped an answer callback; by default it is dropped.
    void setExceptionHook(QVCTransportClient::ExceptionHook hook);

    void requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string& contextMessageType,
                         const std::optional<QVCHeaders>& headers, const std::optional<QVCJSON>& body,
                         std::int64_t responseType, const std::optional<std::string>& simulateFilePath,
                         QVCResponseCompletion completion) override;

private:
    /// The engine of this handler's service root, credentials and settings.
    static std::shared_ptr<QVCTransportEngine> engineFor(const QVCPlatformConfiguration& configuration,
                                                         const std::optional<std::string>& appID,
                                                         const std::optional<std::string>& appKey);
    /// Why request cannot be sent as it is; none when it can.
    std::optional<QVCResponse> refusalOf(QVCHTTPRequest& request, std::int64_t httpMethod,
                                         const std::optional<QVCHeaders>& headers) const;

    std::chrono::milliseconds budget_;
    std::optional<std::string> refusal_;
    std::string rootURL_;
    std::vector<std::string> credentialLines_;
    std::shared_ptr<QVCTransportEngine> engine_;
    std::shared_ptr<QVCTransportClient> client_;
};
