#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The consumer's e-mail address with its row id, type code and audit texts.
struct QVCONSUMER_EXPORT QVCEmail {
    std::optional<std::string> addressId = "1";
    /// The e-mail address itself.
    std::optional<std::string> address = "";
    bool confirmedEmail = true;
    std::optional<std::string> addressTypeCode = "1";
    std::optional<std::string> createdOn = "";
    std::optional<std::string> createdBy = "";
    std::optional<std::string> modifiedOn = "";
    std::optional<std::string> modifiedBy = "";
    bool activeEmail = true;
};
