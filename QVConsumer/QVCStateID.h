#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The composite key of a state: its country and its code within that country.
/// Either is absent only when the master data document gave none.
struct QVCONSUMER_EXPORT QVCStateID {
    std::optional<std::string> countryCode = std::string();  ///< The country's code.
    std::optional<std::string> stateCode = std::string();    ///< The state's code.
};
