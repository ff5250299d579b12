#pragma once

#include <cstdint>

#include "QVConsumer/QVConsumerExport.h"

/// How the consumer prefers to be contacted.
struct QVCONSUMER_EXPORT QVCPreference {
    bool preferEmailFlag = true;
    bool preferSmsFlag = true;
    bool preferAppFlag = true;
    /// The only code of the profile held as an integer.
    std::int64_t preferenceTypeCode = 1;
};
