#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVCBaseType.h"
#include "QVConsumer/QVConsumerExport.h"

/// A country of the country list, keyed by a text code (absent only when the
/// master data document gave none).
struct QVCONSUMER_EXPORT QVCCountry : QVCBaseType {
    std::optional<std::string> countryCode = std::string();  ///< The country's code.
};
