#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>

#include "platform/QVCPlatformConfiguration.h"
#include "platform/QVCPlatformExport.h"

/// When a failed attempt of a request is tried again: after an exponential
/// back-off with jitter (retryBaseDelayMs * 2^n, halved at random, at most
/// retryMaxDelayMs), or after the answer's Retry-After when that is longer,
/// and only while the wait and one more whole attempt fit in the request's
/// budget and retries are left. It decides from what it is given, so it is
/// used the same way by the transport and by its tests.
class QVCPLATFORM_EXPORT QVCRetryPolicy {
public:
    using Clock = std::chrono::steady_clock;

    /// configuration is bounded first (QVCPlatformConfiguration::bounded).
    explicit QVCRetryPolicy(const QVCPlatformConfiguration& configuration, std::uint32_t seed = std::random_device{}());

    /// When attempt number retries + 2 may start, after attempt retries + 1
    /// failed in a way that may pass at now; retryAfterSeconds is the
    /// answer's Retry-After (0 when it has none). None when the request ends
    /// with the answer it has.
    std::optional<Clock::time_point> nextAttempt(int retries, Clock::time_point deadline, Clock::time_point now,
                                                 std::int64_t retryAfterSeconds);

    /// The deadline of a request that starts at now: now plus its whole budget.
    Clock::time_point deadlineFrom(Clock::time_point now) const;

private:
    QVCPlatformConfiguration configuration_;
    std::mt19937 random_;
};
