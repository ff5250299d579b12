#include "QVConsumer/QVCCallObserver.h"

#include <utility>

namespace {

/// The observer of the innermost Scope on this thread.
thread_local const std::shared_ptr<QVCCallObserver>* innermost = nullptr;

}  // namespace

QVCCallObserver::~QVCCallObserver() = default;

std::shared_ptr<QVCCallObserver> QVCCallObserver::current() {
    return innermost ? *innermost : nullptr;
}

QVCResponseCompletion QVCCallObserver::watching(QVCResponseCompletion answer) {
    auto observer = current();
    if (!observer || !answer) {
        return answer;
    }
    return [observer, answer = std::move(answer)](const QVCResponse& response) {
        Scope scope(observer);
        observer->answered(response);
        try {
            answer(response);
        } catch (...) {
            observer->raised(std::current_exception());
            throw;
        }
    };
}

QVCCallObserver::Scope::Scope(std::shared_ptr<QVCCallObserver> observer)
    : observer_(std::move(observer)), outer_(innermost) {
    innermost = &observer_;
}

QVCCallObserver::Scope::~Scope() {
    innermost = outer_;
}
