#pragma once

#include <cstdint>

#include "QVConsumer/QVConsumerExport.h"

/// How the consumer prefers to be contacted.
struct QVCONSUMER_EXPORT QVCPreference {
    bool preferEmailFlag = true;  ///< Contact by e-mail.
    bool preferSmsFlag = true;    ///< Contact by text message.
    bool preferAppFlag = true;    ///< Contact through the application.
    /// The only code of the profile held as an integer.
    std::int64_t preferenceTypeCode = 1;
};
