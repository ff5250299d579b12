#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <type_traits>

/// Collects the first call of a completion, whichever thread makes it, and
/// lets the tool wait for it with a time limit.
template <typename... Args>
class Await {
public:
    using Values = std::tuple<std::decay_t<Args>...>;

    /// The completion to hand to an operation; it may outlive this object.
    std::function<void(Args...)> completion() {
        auto state = state_;
        return [state](Args... args) {
            std::lock_guard<std::mutex> lock(state->mutex);
            if (!state->values) {
                state->values.emplace(std::move(args)...);
                state->ready.notify_all();
            }
        };
    }

    /// The completion's arguments, or none when it was not called in time.
    std::optional<Values> wait(std::chrono::milliseconds limit) {
        std::unique_lock<std::mutex> lock(state_->mutex);
        state_->ready.wait_for(lock, limit, [&] { return state_->values.has_value(); });
        return state_->values;
    }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable ready;
        std::optional<Values> values;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Await for the arguments of a std::function completion type.
template <typename Completion>
struct AwaitFor;

template <typename... Args>
struct AwaitFor<std::function<void(Args...)>> {
    using type = Await<Args...>;
};
