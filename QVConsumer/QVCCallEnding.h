#pragma once

#include <memory>
#include <string>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCErrorResponse.h"

/// How a call of the future or blocking form ended (see QVConsumerCalls).
enum class QVCCallEnding {
    /// The completion was called: the result holds its arguments.
    Completed,
    /// The library released the call without calling the completion (an offer
    /// detail answer that is not one offer, a redemption whose lookup raised, a
    /// reader that raised on the transport's thread, a request its handler
    /// dropped). The error names the operation and, when the last answer the
    /// call received carried an error record, that record's description; the
    /// exception is the one that ended the call, if any.
    NoAnswer,
    /// The deadline passed first. The call goes on; its answer is dropped.
    TimedOut,
    /// The wait was asked for on a thread that is delivering answers, where the
    /// answer could never arrive; nothing was waited for (a blocking form sends nothing).
    OnDeliveryThread,
};

/// The error record of a result that ended without the completion, e.g.
/// "getOfferDetailsWithOfferID: the operation ended without an answer (GET ...: path refused)".
/// Of kind Timeout for TimedOut, otherwise General; detail, when set, is the
/// last error record the call received.
QVCONSUMER_EXPORT std::shared_ptr<QVCErrorResponse> QVCCallEndingError(
    QVCCallEnding ending, const std::string& operation, const std::shared_ptr<QVCErrorResponse>& detail = nullptr);
