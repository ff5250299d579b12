#pragma once

#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The reference record a consumer group membership points at. Unlike the
/// master data records its code and sort position are texts; no document
/// reader fills it, the host application does.
struct QVCONSUMER_EXPORT QVCConsumerGroupType {
    std::string groupCode;
    bool activeFlag = true;
    std::string groupDescription;
    std::string sortOrder;
};
