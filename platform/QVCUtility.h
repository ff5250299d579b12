#pragma once

#include <exception>
#include <functional>
#include <optional>

#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"
#include "platform/QVCPlatformExport.h"

/// Class operations that every operation of the library relies on.
class QVCPLATFORM_EXPORT QVCUtility {
public:
    /// Runs body. If an exception escapes it, body stops there and
    /// handleException is called once with that exception; nothing escapes.
    static void safetyCheck(const std::function<void()>& body,
                            const std::function<void(std::exception_ptr)>& handleException);

    /// The value itself when it is an ordinary value. A missing value (a null
    /// pointer, as a lookup of an absent key gives) and a JSON null both become
    /// the JSON null, which a JSON object can hold as a member and which the
    /// library's readers store as an absent value.
    static const QVCJSON& getNonNullValue(const QVCJSON* value);
    /// The same for a value that is there.
    static const QVCJSON& getNonNullValue(const QVCJSON& value);
    /// The same for a value of a parsed answer: a missing value and a JSON
    /// null both become none.
    static std::optional<QVCAnswerValue> getNonNullValue(const std::optional<QVCAnswerValue>& value);
};
