#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The consumer's e-mail address with its row id, type code and audit texts.
struct QVCONSUMER_EXPORT QVCEmail {
    std::optional<std::string> addressId = "1";  ///< The e-mail row's id.
    /// The e-mail address itself.
    std::optional<std::string> address = "";
    bool confirmedEmail = true;                        ///< Whether the address is confirmed.
    std::optional<std::string> addressTypeCode = "1";  ///< E-mail type code.
    std::optional<std::string> createdOn = "";         ///< When the row was created.
    std::optional<std::string> createdBy = "";         ///< Who created the row.
    std::optional<std::string> modifiedOn = "";        ///< When the row was last changed.
    std::optional<std::string> modifiedBy = "";        ///< Who last changed the row.
    bool activeEmail = true;                           ///< Whether the address is in use.
};
