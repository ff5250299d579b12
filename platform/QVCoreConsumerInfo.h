#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/QVCPlatformExport.h"

/// The platform's consumer record: the consumer's id and names. Absent names
/// are std::nullopt.
struct QVCPLATFORM_EXPORT QVCoreConsumerInfo {
    virtual ~QVCoreConsumerInfo() = default;

    std::int64_t consumerID = 0;            ///< The consumer's id.
    std::optional<std::string> firstName;   ///< First name.
    std::optional<std::string> middleName;  ///< Middle name.
    std::optional<std::string> lastName;    ///< Last name.
    std::optional<std::string> prefix;      ///< The title before the name; the library writes it empty.
    std::optional<std::string> suffix;      ///< The suffix (Jr., III, ...).
};
