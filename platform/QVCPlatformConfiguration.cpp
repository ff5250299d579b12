#include "platform/QVCPlatformConfiguration.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <limits>

namespace {

const char* variable(const char* name) {
    const char* value = std::getenv(name);
    return value && *value ? value : nullptr;
}

/// Reads a whole decimal number from min to max; records a problem otherwise.
template <typename Number>
void overlayNumber(const char* name, Number& field, long long min, unsigned long long max,
                   std::vector<std::string>& problems) {
    const char* text = variable(name);
    if (!text) {
        return;
    }
    errno = 0;
    char* end = nullptr;
    long long value = std::strtoll(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || value < min || static_cast<unsigned long long>(value) > max) {
        problems.push_back(std::string(name) + " must be a whole number from " + std::to_string(min) + " to " +
                           std::to_string(max) + ", not \"" + text + "\"");
        return;
    }
    field = static_cast<Number>(value);
}

void overlayFlag(const char* name, bool& field, std::vector<std::string>& problems) {
    const char* text = variable(name);
    if (!text) {
        return;
    }
    std::string value(text);
    std::transform(value.begin(), value.end(), value.begin(), [](unsigned char c) { return std::tolower(c); });
    if (value == "1" || value == "true" || value == "yes") {
        field = true;
    } else if (value == "0" || value == "false" || value == "no") {
        field = false;
    } else {
        problems.push_back(std::string(name) + " must be 1/true/yes or 0/false/no, not \"" + text + "\"");
    }
}

}  // namespace

QVCPlatformConfiguration QVCPlatformConfiguration::fromEnvironment() {
    return fromEnvironment(QVCPlatformConfiguration());
}

QVCPlatformConfiguration QVCPlatformConfiguration::fromEnvironment(QVCPlatformConfiguration base) {
    if (const char* url = variable(serviceURLVariable)) {
        base.serviceRootURL = url;
    }
    if (const char* bundle = variable(caBundleVariable)) {
        base.caBundlePath = bundle;
    }
    overlayNumber(connectTimeoutVariable, base.connectTimeoutMs, 1, maxDurationMs, base.problems);
    overlayNumber(totalTimeoutVariable, base.totalTimeoutMs, 1, maxDurationMs, base.problems);
    overlayNumber(maxRetriesVariable, base.maxRetries, 0, maxRetriesLimit, base.problems);
    overlayNumber(maxAnswerBytesVariable, base.maxAnswerBytes, 1, std::numeric_limits<std::size_t>::max(),
                  base.problems);
    overlayNumber(maxConnectionsVariable, base.maxConnections, 1, maxConnectionsLimit, base.problems);
    overlayNumber(deliveryThreadsVariable, base.deliveryThreads, 1, maxDeliveryThreadsLimit, base.problems);
    overlayFlag(allowPlainHTTPVariable, base.allowPlainHTTP, base.problems);
    return base;
}

QVCPlatformConfiguration QVCPlatformConfiguration::bounded() const {
    QVCPlatformConfiguration result = *this;
    result.connectTimeoutMs = std::clamp(connectTimeoutMs, 1L, maxDurationMs);
    result.totalTimeoutMs = std::clamp(totalTimeoutMs, 1L, maxDurationMs);
    result.retryMaxDelayMs = std::clamp(retryMaxDelayMs, 1L, maxDurationMs);
    result.retryBaseDelayMs = std::clamp(retryBaseDelayMs, 0L, result.retryMaxDelayMs);
    result.maxRetries = std::clamp(maxRetries, 0, maxRetriesLimit);
    result.maxConnections = std::clamp(maxConnections, 1L, maxConnectionsLimit);
    result.deliveryThreads = std::clamp(deliveryThreads, 1, maxDeliveryThreadsLimit);
    return result;
}

std::chrono::milliseconds QVCPlatformConfiguration::requestBudget() const {
    const QVCPlatformConfiguration limits = bounded();
    const long retries = limits.maxRetries;
    return std::chrono::milliseconds((retries + 1) * limits.totalTimeoutMs + retries * limits.retryMaxDelayMs);
}
