#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "QVConsumer/QVCCallObserver.h"
#include "QVConsumer/QVCFuture.h"
#include "QVConsumer/QVCResult.h"
#include "platform/QVCDeliveryScope.h"

/// What a completion type passes: its values, then the error record, then
/// (all but the rules check's) the exception; and the QVCResult it maps to.
template <typename Completion>
struct QVCCompletionTraits;

template <typename... Args>
struct QVCCompletionTraits<std::function<void(Args...)>> {
    using Arguments = std::tuple<std::decay_t<Args>...>;
    static constexpr bool hasException =
        std::is_same<std::tuple_element_t<sizeof...(Args) - 1, Arguments>, std::exception_ptr>::value;
    static constexpr std::size_t valueCount = sizeof...(Args) - (hasException ? 2 : 1);

    template <typename Indices>
    struct ResultOver;
    template <std::size_t... I>
    struct ResultOver<std::index_sequence<I...>> {
        using type = QVCResult<std::tuple_element_t<I, Arguments>...>;
    };
    using Result = typename ResultOver<std::make_index_sequence<valueCount>>::type;

    /// The result of a completion called with arguments.
    static Result resultOf(Arguments arguments) {
        typename Result::ValueTuple values;
        assignValues(values, arguments, std::make_index_sequence<valueCount>());
        std::exception_ptr exception;
        if constexpr (hasException) {
            exception = std::get<valueCount + 1>(arguments);
        }
        return Result(QVCCallEnding::Completed, std::move(values), std::get<valueCount>(arguments), exception);
    }
    /// The completion's arguments back from a result: its values, error and exception.
    static Arguments argumentsOf(const Result& result) {
        if constexpr (hasException) {
            return std::tuple_cat(result.values(), std::make_tuple(result.error(), result.exception()));
        } else {
            return std::tuple_cat(result.values(), std::make_tuple(result.error()));
        }
    }

private:
    template <std::size_t... I>
    static void assignValues(typename Result::ValueTuple& values, Arguments& arguments, std::index_sequence<I...>) {
        ((std::get<I>(values) = std::move(std::get<I>(arguments))), ...);
    }
};

/// The future and blocking forms of any operation, built on its callback
/// form: one mechanism for every completion type.
///
/// The completion handed to the operation owns the call's shared state. Its
/// first call ends the future with its arguments; when the library lets go of
/// the last copy without calling it, the state ends the future as NoAnswer,
/// with what the call's observer saw (the last answer's error record, the
/// exception that ended it). So the future is ready once the library is done
/// with the call, whichever path it took.
class QVCCall {
public:
    /// Starts an operation through start(completion), completion being of
    /// type Completion, and returns the future of its result. operation names
    /// the call in the results that do not come from the completion.
    template <typename Completion, typename Start>
    static QVCFuture<typename QVCCompletionTraits<Completion>::Result> future(const std::string& operation,
                                                                              const Start& start) {
        using Traits = QVCCompletionTraits<Completion>;
        auto state = std::make_shared<State<typename Traits::Result>>(operation);
        QVCFuture<typename Traits::Result> future(state->promise.get_future(), operation);
        QVCCallObserver::Scope scope(state);
        start(completionFor<Traits>(std::make_shared<Ender<typename Traits::Result>>(state), Completion()));
        return future;
    }

    /// The blocking form: starts the operation and waits for its result until
    /// deadline. On a thread that delivers answers it starts nothing and
    /// returns at once with ending OnDeliveryThread.
    template <typename Completion, typename Start>
    static typename QVCCompletionTraits<Completion>::Result wait(const std::string& operation, QVCDeadline deadline,
                                                                 const Start& start) {
        return settle(operation, deadline, [&] { return future<Completion>(operation, start); });
    }

    /// The same for an operation whose future form startFuture() starts.
    template <typename StartFuture>
    static auto settle(const std::string& operation, QVCDeadline deadline, const StartFuture& startFuture)
        -> decltype(startFuture().get()) {
        using Result = decltype(startFuture().get());
        if (QVCDeliveryScope::active()) {
            return Result::ended(QVCCallEnding::OnDeliveryThread,
                                 QVCCallEndingError(QVCCallEnding::OnDeliveryThread, operation));
        }
        return startFuture().get(deadline);
    }

private:
    /// One call's shared state: the promise, ended once, and what the call's observer saw.
    template <typename Result>
    class State final : public QVCCallObserver {
    public:
        explicit State(std::string operation) : operation_(std::move(operation)) {}

        void end(Result result) {
            std::lock_guard<std::mutex> lock(mutex_);
            if (!ended_) {
                ended_ = true;
                promise.set_value(std::move(result));
            }
        }
        /// Hands what was seen on to the result, so that the last reference
        /// to the exception is the waiter's, whichever thread drops the state.
        void endWithoutAnswer() {
            std::unique_lock<std::mutex> lock(mutex_);
            auto error = QVCCallEndingError(QVCCallEnding::NoAnswer, operation_, lastError_);
            auto exception = std::exchange(raised_, nullptr);
            lock.unlock();
            end(Result::ended(QVCCallEnding::NoAnswer, std::move(error), std::move(exception)));
        }
        void answered(const QVCResponse& response) override {
            std::lock_guard<std::mutex> lock(mutex_);
            lastError_ = response.error();
        }
        void raised(std::exception_ptr exception) override {
            std::lock_guard<std::mutex> lock(mutex_);
            raised_ = std::move(exception);
        }

        std::promise<Result> promise;

    private:
        std::mutex mutex_;
        bool ended_ = false;
        std::string operation_;
        std::shared_ptr<QVCErrorResponse> lastError_;
        std::exception_ptr raised_;
    };

    /// Owned by the completion's copies only: the last one to go ends a call
    /// whose completion was never called.
    template <typename Result>
    struct Ender {
        explicit Ender(std::shared_ptr<State<Result>> state) : state(std::move(state)) {}
        ~Ender() { state->endWithoutAnswer(); }
        Ender(const Ender&) = delete;
        Ender& operator=(const Ender&) = delete;
        std::shared_ptr<State<Result>> state;
    };

    template <typename Traits, typename... Args>
    static std::function<void(Args...)> completionFor(std::shared_ptr<Ender<typename Traits::Result>> ender,
                                                      const std::function<void(Args...)>&) {
        return [ender = std::move(ender)](Args... arguments) {
            ender->state->end(Traits::resultOf(typename Traits::Arguments(std::forward<Args>(arguments)...)));
        };
    }
};
