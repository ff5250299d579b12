#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The consumer's postal address. A new one is a complete, concrete address
/// (33 Market St, San Francisco) until the host or the service replaces it.
struct QVCONSUMER_EXPORT QVCAddress {
    std::optional<std::string> addressId = "1";
    std::optional<std::string> line1 = "33 Market St";
    std::optional<std::string> line2 = "";
    std::optional<std::string> line3 = "";
    std::optional<std::string> city = "San Francisco";
    std::optional<std::string> postalCode = "94127";
    std::optional<std::string> stateCode = "CA";
    std::optional<std::string> countryCode = "US";
    std::optional<std::string> addressTypeCode = "1";
    std::optional<std::string> createdOn = "";
    std::optional<std::string> createdBy = "";
    std::optional<std::string> modifiedOn = "";
    std::optional<std::string> modifiedBy = "";
    bool activeAddress = true;
};
