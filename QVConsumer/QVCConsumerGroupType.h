#pragma once

#include <optional>
#include <string>

/// A consumer group of the service's reference list: its code, description,
/// active flag and sort position (a text, unlike the other code lists).
struct QVCConsumerGroupType {
    std::optional<std::string> groupCode = "";
    bool activeFlag = true;
    std::optional<std::string> groupDescription = "";
    std::optional<std::string> sortOrder = "";
};
