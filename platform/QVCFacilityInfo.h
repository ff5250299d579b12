#pragma once

#include <cstdint>

/// The merchant facility (store, venue) the application runs at.
struct QVCFacilityInfo {
    std::int64_t facilityID = 0;
};
