#pragma once

#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The reference record a consumer's merchant type membership points at.
/// Unlike the master data records (where merchant types are QVCMasterType
/// entries) its code and sort position are texts; the host application fills it.
struct QVCONSUMER_EXPORT QVCMerchantType {
    std::string merchantTypeCode;     ///< The merchant type's code.
    std::string merchantDescription;  ///< The text shown for it.
    std::string sortOrder;            ///< Position in the list, as text.
    bool activeFlag = true;           ///< Whether it is in use.
};
