#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/QVCHTTPExchange.h"
#include "platform/QVCPlatformExport.h"

/// Settings of the platform's live transport. Every field has a safe default;
/// fromEnvironment() lays the process environment over a given configuration.
///
/// Environment variables read by fromEnvironment():
///   QVCONSUMER_SERVICE_URL          serviceRootURL
///   QVCONSUMER_CONNECT_TIMEOUT_MS   connectTimeoutMs
///   QVCONSUMER_TIMEOUT_MS           totalTimeoutMs
///   QVCONSUMER_MAX_RETRIES          maxRetries
///   QVCONSUMER_CA_BUNDLE            caBundlePath
///   QVCONSUMER_MAX_ANSWER_BYTES     maxAnswerBytes
///   QVCONSUMER_ALLOW_PLAIN_HTTP     allowPlainHTTP ("1"/"true"/"yes" or "0"/"false"/"no")
///   QVCONSUMER_MAX_CONNECTIONS      maxConnections
///   QVCONSUMER_DELIVERY_THREADS     deliveryThreads
struct QVCPLATFORM_EXPORT QVCPlatformConfiguration {
    static constexpr const char* serviceURLVariable = "QVCONSUMER_SERVICE_URL";
    static constexpr const char* connectTimeoutVariable = "QVCONSUMER_CONNECT_TIMEOUT_MS";
    static constexpr const char* totalTimeoutVariable = "QVCONSUMER_TIMEOUT_MS";
    static constexpr const char* maxRetriesVariable = "QVCONSUMER_MAX_RETRIES";
    static constexpr const char* caBundleVariable = "QVCONSUMER_CA_BUNDLE";
    static constexpr const char* maxAnswerBytesVariable = "QVCONSUMER_MAX_ANSWER_BYTES";
    static constexpr const char* allowPlainHTTPVariable = "QVCONSUMER_ALLOW_PLAIN_HTTP";
    static constexpr const char* maxConnectionsVariable = "QVCONSUMER_MAX_CONNECTIONS";
    static constexpr const char* deliveryThreadsVariable = "QVCONSUMER_DELIVERY_THREADS";

    /// Largest timeout or delay accepted, in milliseconds (one day), and the
    /// largest number of retries. fromEnvironment() refuses larger values; the
    /// transport reads larger fields as these.
    static constexpr long maxDurationMs = 86400000;
    static constexpr int maxRetriesLimit = 10;
    /// Largest pool of connections and largest number of delivery threads accepted.
    static constexpr long maxConnectionsLimit = 1024;
    static constexpr int maxDeliveryThreadsLimit = 64;

    /// Header fields that carry the application's credentials on every live request.
    static constexpr const char* appIDHeader = "X-App-Id";
    static constexpr const char* appKeyHeader = "X-App-Key";

    /// Root the request paths are joined to, e.g. "https://service.example/". No
    /// default: a live request without a root fails with an error naming the variable.
    std::string serviceRootURL;
    long connectTimeoutMs = 10000;
    /// Limit for one attempt, from start to the last byte of the answer.
    long totalTimeoutMs = 30000;
    /// Additional attempts after the first, for failures that may pass.
    int maxRetries = 2;
    /// Back-off before retry n (from 0) is retryBaseDelayMs * 2^n, halved at
    /// random (jitter), at most retryMaxDelayMs. A Retry-After is honoured when
    /// the wait and one more attempt fit in the request's budget; a longer one
    /// ends the request with its error at once.
    long retryBaseDelayMs = 200;
    long retryMaxDelayMs = 10000;
    bool verifyPeer = true;
    bool verifyHost = true;
    /// File of trusted certificate authorities; none uses the system's.
    std::optional<std::string> caBundlePath;
    /// Largest answer body accepted; a longer one is cut off while it is received.
    std::size_t maxAnswerBytes = 16 * 1024 * 1024;
    /// Plain http is refused except to loopback hosts unless this is set.
    bool allowPlainHTTP = false;
    /// Largest number of connections kept open to the service at once. The
    /// pool belongs to the engine that every live handler of the process with
    /// the same service root, credentials and settings shares.
    long maxConnections = 8;
    /// Threads that call answer callbacks. With 1 they run on the engine's
    /// own thread; with more, on that many threads besides it. Either way the
    /// answers of one handler (one manager) come one at a time, in the order
    /// they completed.
    int deliveryThreads = 1;
    /// Called on the transport's thread after each attempt, retries included,
    /// to show the HTTP exchange (qvconsumer --verbose); none by default. It
    /// must return quickly and not throw.
    std::function<void(const QVCHTTPExchange&)> trace;

    /// Values from the environment that could not be used, one message each;
    /// every live request fails with these until they are fixed.
    std::vector<std::string> problems;

    /// This configuration with every duration brought into 1..maxDurationMs
    /// (the base delay into 0..retryMaxDelayMs) and maxRetries into
    /// 0..maxRetriesLimit, maxConnections into 1..maxConnectionsLimit and
    /// deliveryThreads into 1..maxDeliveryThreadsLimit, so that no arithmetic
    /// on them can overflow.
    QVCPlatformConfiguration bounded() const;

    /// The longest a request may take, all attempts and the back-offs between
    /// them included: (maxRetries + 1) * totalTimeoutMs + maxRetries *
    /// retryMaxDelayMs, of the bounded configuration.
    std::chrono::milliseconds requestBudget() const;

    /// base, with every variable above that is set in the environment laid over it.
    static QVCPlatformConfiguration fromEnvironment();
    static QVCPlatformConfiguration fromEnvironment(QVCPlatformConfiguration base);
};
