#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <type_traits>

/// Where the tool waits: completions and the transport's answer exception
/// hook report here, on whichever thread they run.
struct Rendezvous {
    std::mutex mutex;
    std::condition_variable changed;
    /// The first exception that escaped an answer callback on the transport's thread.
    std::exception_ptr escaped;

    /// The hook for QVCoreCP::setAnswerExceptionHook; it may outlive the tool's wait.
    static std::function<void(std::exception_ptr)> hook(const std::shared_ptr<Rendezvous>& rendezvous) {
        return [rendezvous](std::exception_ptr exception) {
            std::lock_guard<std::mutex> lock(rendezvous->mutex);
            if (!rendezvous->escaped) {
                rendezvous->escaped = exception;
                rendezvous->changed.notify_all();
            }
        };
    }
};

/// Collects the first call of a completion, whichever thread makes it, and
/// lets the tool wait for it, or for an escaped exception, with a time limit.
template <typename... Args>
class Await {
public:
    using Values = std::tuple<std::decay_t<Args>...>;

    explicit Await(std::shared_ptr<Rendezvous> rendezvous) : rendezvous_(std::move(rendezvous)) {}

    /// The completion to hand to an operation; it may outlive this object.
    std::function<void(Args...)> completion() {
        auto rendezvous = rendezvous_;
        auto values = values_;
        return [rendezvous, values](Args... args) {
            std::lock_guard<std::mutex> lock(rendezvous->mutex);
            if (!*values) {
                values->emplace(std::move(args)...);
                rendezvous->changed.notify_all();
            }
        };
    }

    /// The completion's arguments, or none when it was not called in time or
    /// an exception escaped first (then in escaped).
    std::optional<Values> wait(std::chrono::milliseconds limit, std::exception_ptr& escaped) {
        std::unique_lock<std::mutex> lock(rendezvous_->mutex);
        rendezvous_->changed.wait_for(lock, limit, [&] { return values_->has_value() || rendezvous_->escaped; });
        escaped = rendezvous_->escaped;
        return *values_;
    }

private:
    std::shared_ptr<Rendezvous> rendezvous_;
    std::shared_ptr<std::optional<Values>> values_ = std::make_shared<std::optional<Values>>();
};

/// Await for the arguments of a std::function completion type.
template <typename Completion>
struct AwaitFor;

template <typename... Args>
struct AwaitFor<std::function<void(Args...)>> {
    using type = Await<Args...>;
};
