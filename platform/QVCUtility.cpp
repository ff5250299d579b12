#include "platform/QVCUtility.h"

namespace {
const QVCJSON& jsonNull() {
    static const QVCJSON null;
    return null;
}
}  // namespace

void QVCUtility::safetyCheck(const std::function<void()>& body,
                             const std::function<void(std::exception_ptr)>& handleException) {
    std::exception_ptr caught;
    try {
        body();
    } catch (...) {
        caught = std::current_exception();
    }
    if (caught) {
        handleException(caught);
    }
}

const QVCJSON& QVCUtility::getNonNullValue(const QVCJSON* value) {
    return value == nullptr ? jsonNull() : *value;
}

const QVCJSON& QVCUtility::getNonNullValue(const QVCJSON& value) {
    return value;
}

std::optional<QVCAnswerValue> QVCUtility::getNonNullValue(const std::optional<QVCAnswerValue>& value) {
    if (!value || value->is_null()) {
        return std::nullopt;
    }
    return value;
}
