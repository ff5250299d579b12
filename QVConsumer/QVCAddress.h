#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The consumer's postal address. A new one is a complete, concrete address
/// (33 Market St, San Francisco) until the host or the service replaces it.
struct QVCONSUMER_EXPORT QVCAddress {
    std::optional<std::string> addressId = "1";         ///< The address row's id.
    std::optional<std::string> line1 = "33 Market St";  ///< First address line.
    std::optional<std::string> line2 = "";              ///< Second address line.
    std::optional<std::string> line3 = "";              ///< Third address line.
    std::optional<std::string> city = "San Francisco";  ///< City.
    std::optional<std::string> postalCode = "94127";    ///< Postal code.
    std::optional<std::string> stateCode = "CA";        ///< State code.
    std::optional<std::string> countryCode = "US";      ///< Country code.
    std::optional<std::string> addressTypeCode = "1";   ///< Address type code.
    std::optional<std::string> createdOn = "";          ///< When the row was created.
    std::optional<std::string> createdBy = "";          ///< Who created the row.
    std::optional<std::string> modifiedOn = "";         ///< When the row was last changed.
    std::optional<std::string> modifiedBy = "";         ///< Who last changed the row.
    bool activeAddress = true;                          ///< Whether the address is in use.
};
