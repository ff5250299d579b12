#include "platform/QVCRetryPolicy.h"

#include <algorithm>

QVCRetryPolicy::QVCRetryPolicy(const QVCPlatformConfiguration& configuration, std::uint32_t seed)
    : configuration_(configuration.bounded()), random_(seed) {}

std::optional<QVCRetryPolicy::Clock::time_point> QVCRetryPolicy::nextAttempt(int retries, Clock::time_point deadline,
                                                                             Clock::time_point now,
                                                                             std::int64_t retryAfterSeconds) {
    if (retries >= configuration_.maxRetries) {
        return std::nullopt;
    }
    long delay = std::min(configuration_.retryMaxDelayMs, configuration_.retryBaseDelayMs << std::min(retries, 20));
    delay = std::uniform_int_distribution<long>(delay / 2, std::max(delay / 2, delay))(random_);
    const auto attempt = std::chrono::milliseconds(configuration_.totalTimeoutMs);
    const auto spare = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now - attempt).count();
    if (retryAfterSeconds > 0) {
        // Compared in seconds first: the header's value may be far too large to count in milliseconds.
        if (spare < 0 || retryAfterSeconds > spare / 1000) {
            return std::nullopt;
        }
        delay = std::max(delay, static_cast<long>(retryAfterSeconds) * 1000);
    }
    if (delay > spare) {
        return std::nullopt;
    }
    return now + std::chrono::milliseconds(delay);
}

QVCRetryPolicy::Clock::time_point QVCRetryPolicy::deadlineFrom(Clock::time_point now) const {
    return now + configuration_.requestBudget();
}
