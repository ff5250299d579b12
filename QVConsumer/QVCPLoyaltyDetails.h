#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// Loyalty point types, the index of QVCLoyaltyPointType_toString.
enum QVCLoyaltyPointType : std::int64_t {
    QVCLoyaltyPointTypeRedeemed = 0,
    QVCLoyaltyPointTypeEarned = 1,
    QVCLoyaltyPointTypeBalance = 2,
};

/// The names of the loyalty point types, indexed by QVCLoyaltyPointType:
/// "redeemed", "earned", "balance". Offered to the host; the library itself
/// never reads it.
QVCONSUMER_EXPORT extern const char* const QVCLoyaltyPointType_toString[3];

/// The consumer's loyalty account reference.
struct QVCONSUMER_EXPORT QVCPLoyaltyDetails {
    std::optional<std::string> loyaltyId = "";  ///< The consumer's loyalty id.
    /// A QVCLoyaltyPointType; 0 until the host sets it.
    std::int64_t pointType = 0;
};
