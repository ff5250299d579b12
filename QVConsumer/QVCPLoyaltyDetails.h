#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Loyalty point types, the index of QVCLoyaltyPointType_toString.
enum QVCLoyaltyPointType : std::int64_t {
    QVCLoyaltyPointTypeRedeemed = 0,
    QVCLoyaltyPointTypeEarned = 1,
    QVCLoyaltyPointTypeBalance = 2,
};

/// The names of the loyalty point types, indexed by QVCLoyaltyPointType:
/// "redeemed", "earned", "balance". Offered to the host; the library itself
/// never reads it.
extern const char* const QVCLoyaltyPointType_toString[3];

/// The consumer's loyalty account reference.
struct QVCPLoyaltyDetails {
    std::optional<std::string> loyaltyId = "";
    /// A QVCLoyaltyPointType; 0 until the host sets it.
    std::int64_t pointType = 0;
};
