#pragma once

#include <chrono>
#include <future>
#include <string>
#include <utility>

#include "QVConsumer/QVCCallEnding.h"
#include "platform/QVCDeliveryScope.h"

/// When a wait gives up: a point of the steady clock, or a duration from now.
struct QVCDeadline {
    std::chrono::steady_clock::time_point at;

    QVCDeadline(std::chrono::steady_clock::time_point when) : at(when) {}  // NOLINT: implicit by design
    template <typename Rep, typename Period>
    QVCDeadline(std::chrono::duration<Rep, Period> fromNow)  // NOLINT: implicit by design
        : at(std::chrono::steady_clock::now() +
             std::chrono::duration_cast<std::chrono::steady_clock::duration>(fromNow)) {}
};

/// The future of one call's QVCResult. It is a std::future, and it becomes
/// ready exactly once on every path (see QVCCallEnding). Its waits first check
/// whether the calling thread is delivering answers (QVCDeliveryScope): there
/// a future that is not ready yet never would be, so get() returns at once a
/// result of ending OnDeliveryThread (the future stays valid), wait() returns
/// at once, and wait_for()/wait_until() report std::future_status::timeout.
///
/// Moved into a plain std::future it keeps its value but loses that check and
/// get(deadline): a wait on the delivering thread then blocks for good.
template <typename Result>
class QVCFuture : public std::future<Result> {
public:
    using Base = std::future<Result>;

    QVCFuture() = default;
    QVCFuture(Base future, std::string operation) : Base(std::move(future)), operation_(std::move(operation)) {}

    /// The selector (or label) of the operation this future belongs to.
    const std::string& operation() const { return operation_; }

    /// The result, waiting as long as it takes (the library ends every call it releases).
    Result get() {
        if (onDeliveryThread()) {
            return ended(QVCCallEnding::OnDeliveryThread);
        }
        return Base::get();
    }
    /// The result, or one of ending TimedOut when the deadline passes first.
    Result get(QVCDeadline deadline) {
        if (onDeliveryThread()) {
            return ended(QVCCallEnding::OnDeliveryThread);
        }
        if (Base::wait_until(deadline.at) != std::future_status::ready) {
            return ended(QVCCallEnding::TimedOut);
        }
        return Base::get();
    }

    void wait() const {
        if (!onDeliveryThread()) {
            Base::wait();
        }
    }
    template <typename Rep, typename Period>
    std::future_status wait_for(const std::chrono::duration<Rep, Period>& duration) const {
        return onDeliveryThread() ? std::future_status::timeout : Base::wait_for(duration);
    }
    template <typename Clock, typename Duration>
    std::future_status wait_until(const std::chrono::time_point<Clock, Duration>& when) const {
        return onDeliveryThread() ? std::future_status::timeout : Base::wait_until(when);
    }

private:
    bool onDeliveryThread() const {
        return QVCDeliveryScope::active() && Base::wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    }
    Result ended(QVCCallEnding ending) const { return Result::ended(ending, QVCCallEndingError(ending, operation_)); }

    std::string operation_;
};
