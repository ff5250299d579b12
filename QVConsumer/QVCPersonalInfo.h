#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVCContactInfo.h"
#include "QVConsumer/QVConsumerExport.h"

/// The consumer's personal data. The type codes are codes of the service's
/// reference lists, held as text.
struct QVCONSUMER_EXPORT QVCPersonalInfo {
    /// The consumer's user name.
    std::optional<std::string> consumerName = "";
    std::optional<std::string> genderTypeCode = "1";         ///< Gender code.
    std::optional<std::string> maritalStatusTypeCode = "1";  ///< Marital status code.
    std::optional<std::string> incomeRangeTypeCode = "1";    ///< Income range code.
    std::optional<std::string> educationTypeCode = "1";      ///< Education level code.
    /// The birth month and day as the service sent it; never parsed.
    std::optional<std::string> dateOfBirth = "";
    std::optional<std::string> ageRangeTypeCode = "1";                                 ///< Age range code.
    std::shared_ptr<QVCContactInfo> contactInfo = std::make_shared<QVCContactInfo>();  ///< E-mail, phone and address.
    std::optional<std::string> occupationTypeCode = "1";                               ///< Occupation code.
    /// Free text for an occupation that the reference list lacks.
    std::optional<std::string> occupationOther = "";
};
