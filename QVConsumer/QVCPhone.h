#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The consumer's telephone number with its row id, type code and audit texts.
struct QVCONSUMER_EXPORT QVCPhone {
    std::optional<std::string> phoneId = "1";
    std::optional<std::string> number = "";
    bool confirmedPhone = true;
    std::optional<std::string> phoneTypeCode = "1";
    std::optional<std::string> createdOn = "";
    std::optional<std::string> createdBy = "";
    std::optional<std::string> modifiedOn = "";
    std::optional<std::string> modifiedBy = "";
    bool activePhone = true;
};
