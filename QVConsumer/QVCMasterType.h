#pragma once

#include <cstdint>

#include "QVConsumer/QVCBaseType.h"

/// An entry of a coded list (age ranges, marital statuses, income ranges,
/// consumer groups, education levels, occupations, merchant types): the
/// common part and an integer code.
struct QVCMasterType : QVCBaseType {
    std::int64_t typeCode = 0;
};
