#pragma once

#include <cstdint>

#include "platform/QVCPlatformExport.h"

/// The merchant facility (store, venue) the application runs at.
struct QVCPLATFORM_EXPORT QVCFacilityInfo {
    std::int64_t facilityID = 0;  ///< The facility's id.
};
