#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The consumer's telephone number with its row id, type code and audit texts.
struct QVCONSUMER_EXPORT QVCPhone {
    std::optional<std::string> phoneId = "1";        ///< The phone row's id.
    std::optional<std::string> number = "";          ///< The phone number.
    bool confirmedPhone = true;                      ///< Whether the number is confirmed.
    std::optional<std::string> phoneTypeCode = "1";  ///< Phone type code.
    std::optional<std::string> createdOn = "";       ///< When the row was created.
    std::optional<std::string> createdBy = "";       ///< Who created the row.
    std::optional<std::string> modifiedOn = "";      ///< When the row was last changed.
    std::optional<std::string> modifiedBy = "";      ///< Who last changed the row.
    bool activePhone = true;                         ///< Whether the number is in use.
};
