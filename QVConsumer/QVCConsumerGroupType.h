#pragma once

#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The reference record a consumer group membership points at. Unlike the
/// master data records its code and sort position are texts; no document
/// reader fills it, the host application does.
struct QVCONSUMER_EXPORT QVCConsumerGroupType {
    std::string groupCode;         ///< The group's code.
    bool activeFlag = true;        ///< Whether the group is in use.
    std::string groupDescription;  ///< The text shown for the group.
    std::string sortOrder;         ///< Position in the list, as text.
};
