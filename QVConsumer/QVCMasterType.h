#pragma once

#include <cstdint>

#include "QVConsumer/QVCBaseType.h"
#include "QVConsumer/QVConsumerExport.h"

/// An entry of a coded list (age ranges, marital statuses, income ranges,
/// consumer groups, education levels, occupations, merchant types): the
/// common part and an integer code.
struct QVCONSUMER_EXPORT QVCMasterType : QVCBaseType {
    std::int64_t typeCode = 0;  ///< The entry's code.
};
