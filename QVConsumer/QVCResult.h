#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

#include "QVConsumer/QVCCallEnding.h"
#include "platform/QVCErrorResponse.h"

/// The one result of an operation called in the future or blocking form:
/// the values its completion passes (every argument before the error record),
/// the error record and the exception, and how the call ended. When it ended
/// without the completion, the values are empty (none, false, 0), error()
/// says what happened (QVCCallEndingError) and exception() holds the
/// exception that ended it, if one did.
template <typename... Values>
class QVCResult {
public:
    using Error = std::shared_ptr<QVCErrorResponse>;
    using ValueTuple = std::tuple<Values...>;

    QVCResult() = default;
    QVCResult(QVCCallEnding ending, ValueTuple values, Error error, std::exception_ptr exception)
        : ending_(ending), values_(std::move(values)), error_(std::move(error)), exception_(std::move(exception)) {}

    /// A result that did not come from the completion.
    static QVCResult ended(QVCCallEnding ending, Error error, std::exception_ptr exception = nullptr) {
        return QVCResult(ending, ValueTuple{}, std::move(error), std::move(exception));
    }

    QVCCallEnding ending() const { return ending_; }
    /// The completion was called with neither an error record nor an exception.
    bool ok() const { return ending_ == QVCCallEnding::Completed && !error_ && !exception_; }

    /// The completion's values, for structured bindings: auto [points, status] = result.values();
    const ValueTuple& values() const { return values_; }
    /// The one value of an operation whose completion passes one.
    template <typename Tuple = ValueTuple, std::enable_if_t<std::tuple_size<Tuple>::value == 1, int> = 0>
    const auto& value() const {
        return std::get<0>(values_);
    }
    const Error& error() const { return error_; }
    std::exception_ptr exception() const { return exception_; }

private:
    QVCCallEnding ending_ = QVCCallEnding::NoAnswer;
    ValueTuple values_{};
    Error error_;
    std::exception_ptr exception_;
};
