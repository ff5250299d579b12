#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/QVCPlatformExport.h"

/// The platform's consumer record: the consumer's id and names. Absent names
/// are std::nullopt.
struct QVCPLATFORM_EXPORT QVCoreConsumerInfo {
    virtual ~QVCoreConsumerInfo() = default;

    std::int64_t consumerID = 0;
    std::optional<std::string> firstName;
    std::optional<std::string> middleName;
    std::optional<std::string> lastName;
    std::optional<std::string> prefix;
    std::optional<std::string> suffix;
};
