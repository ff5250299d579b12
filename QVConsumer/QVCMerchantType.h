#pragma once

#include <optional>
#include <string>

/// A merchant type of the service's reference list: its code, description,
/// sort position (a text, unlike the other code lists) and active flag.
struct QVCMerchantType {
    std::optional<std::string> merchantTypeCode = "";
    std::optional<std::string> merchantDescription = "";
    std::optional<std::string> sortOrder = "";
    bool activeFlag = true;
};
