#include "platform/QVCHTTPWebServiceHandler.h"

#include <atomic>
#include <sstream>
#include <utility>

#include "platform/QVCHTTPRefusal.h"
#include "platform/QVCHTTPText.h"
#include "platform/QVCRequestShapes.h"

namespace {

QVCResponse refused(const QVCHTTPRequest& request, const std::string& message) {
    return QVCResponse(std::nullopt, {},
                       QVCErrorResponse::initWithErrorMessages({request.method + " " + request.path + ": " + message},
                                                               QVCErrorResponse::Kind::General));
}

/// What tells engines apart: every setting that changes how requests go.
std::string engineKey(const QVCPlatformConfiguration& c, const std::optional<std::string>& appID,
                      const std::optional<std::string>& appKey) {
    std::ostringstream key;
    key << "http\n" << c.serviceRootURL << '\n' << appID.value_or("") << '\n' << appKey.value_or("") << '\n';
    key << c.connectTimeoutMs << ' ' << c.totalTimeoutMs << ' ' << c.maxRetries << ' ' << c.retryBaseDelayMs << ' '
        << c.retryMaxDelayMs << ' ' << c.verifyPeer << c.verifyHost << c.allowPlainHTTP << ' '
        << c.caBundlePath.value_or("") << '\n'
        << c.maxAnswerBytes << ' ' << c.maxConnections << ' ' << c.deliveryThreads;
    if (c.trace) {
        // A trace hook cannot be compared: a handler that traces has an engine of its own.
        static std::atomic<unsigned long> traced{0};
        key << "\ntraced " << ++traced;
    }
    return key.str();
}

}  // namespace

QVCHTTPWebServiceHandler::QVCHTTPWebServiceHandler(QVCPlatformConfiguration configuration,
                                                   std::optional<std::string> appID, std::optional<std::string> appKey)
    : budget_(configuration.requestBudget()) {
    configuration = configuration.bounded();
    refusal_ = QVCHTTPRefusalOf(configuration);
    rootURL_ = configuration.serviceRootURL;
    if (!rootURL_.empty() && rootURL_.back() != '/') {
        rootURL_ += '/';
    }
    if ((appID && QVCHasLineBreak(*appID)) || (appKey && QVCHasLineBreak(*appKey))) {
        refusal_ = "the application id or key holds a line break and cannot be sent as a header";
    }
    credentialLines_ = {std::string(QVCPlatformConfiguration::appIDHeader) + ": " + appID.value_or(""),
                        std::string(QVCPlatformConfiguration::appKeyHeader) + ": " + appKey.value_or("")};
    engine_ = engineFor(configuration, appID, appKey);
    client_ = engine_->worker().addClient();
}

QVCHTTPWebServiceHandler::~QVCHTTPWebServiceHandler() {
    engine_->worker().close(client_);
}

std::shared_ptr<QVCTransportEngine> QVCHTTPWebServiceHandler::engineFor(const QVCPlatformConfiguration& configuration,
                                                                        const std::optional<std::string>& appID,
                                                                        const std::optional<std::string>& appKey) {
    return QVCTransportEngine::shared(engineKey(configuration, appID, appKey), [&] {
        return std::make_shared<QVCTransportWorker>(std::make_unique<QVCCurlLoop>(configuration),
                                                    configuration.deliveryThreads);
    });
}

void QVCHTTPWebServiceHandler::setExceptionHook(QVCTransportClient::ExceptionHook hook) {
    client_->setExceptionHook(std::move(hook));
}

void QVCHTTPWebServiceHandler::requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string&,
                                               const std::optional<QVCHeaders>& headers,
                                               const std::optional<QVCJSON>& body, std::int64_t,
                                               const std::optional<std::string>&, QVCResponseCompletion completion) {
    auto request = std::make_unique<QVCHTTPRequest>();
    request->method = QVCHTTPMethodName(httpMethod);
    request->path = path;
    request->completion = std::move(completion);
    request->client = client_;
    request->deadline = QVCRetryPolicy::Clock::now() + budget_;
    request->ready = refusalOf(*request, httpMethod, headers);
    if (!request->ready && httpMethod == QVCHTTPMethodPost) {
        request->headerLines.emplace_back("Content-Type: application/json");
        request->bodyText = body ? body->dump(-1, ' ', false, QVCJSON::error_handler_t::replace) : "{}";
    }
    engine_->worker().submit(std::move(request));
}

std::optional<QVCResponse> QVCHTTPWebServiceHandler::refusalOf(QVCHTTPRequest& request, std::int64_t httpMethod,
                                                               const std::optional<QVCHeaders>& headers) const {
    if (refusal_) {
        return refused(request, *refusal_);
    }
    if (httpMethod != QVCHTTPMethodGet && httpMethod != QVCHTTPMethodPost) {
        return refused(request, "unknown httpMethod (0 reads, 1 sends)");
    }
    auto checked = QVCRequestShapes::check(request.method, request.path);
    if (!checked.target) {
        request.path = checked.shape;  // the refused path is not repeated, not even on cancellation
        return checked.refusal(request.method);
    }
    request.url = rootURL_ + *checked.target;
    request.headerLines = {"Accept: application/json", "Expect:"};
    request.headerLines.insert(request.headerLines.end(), credentialLines_.begin(), credentialLines_.end());
    for (const auto& [name, value] : headers.value_or(QVCHeaders())) {
        if (name.empty() || QVCHasLineBreak(name) || QVCHasLineBreak(value) || name.find(':') != std::string::npos) {
            return refused(request, "the header field \"" + QVCTrim(name) + "\" cannot be sent");
        }
        request.headerLines.push_back(name + ": " + value);
    }
    return std::nullopt;
}
