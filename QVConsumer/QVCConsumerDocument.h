#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/QVCCompanyInfo.h"
#include "platform/QVCJSON.h"

struct QVCConsumerInfo;

/// The request documents that sign-up and profile update send: the writer
/// beside QVCConsumerInfo's reader. Both variants share one consumer object;
/// they differ in their envelope, a few keys, some conversions and the null
/// filter, each difference written next to its key. The documents are built
/// anew on every call.
class QVCConsumerDocument {
public:
    /// {"consumers": consumer}. The company id is a number, "activeFlag" is
    /// "Y"/"N", the contact, address, e-mail and phone type codes are "1"
    /// whatever the record holds, no row id is written, the merchant type codes
    /// go out as "merchantCategoryCodes", and 15 texts pass the platform's null
    /// filter (an absent one is sent as JSON null). Throws QVCException naming
    /// the value when any other value, a code list or a sub-record is absent,
    /// or company is null.
    static QVCJSON signUp(const std::shared_ptr<QVCConsumerInfo>& info, const std::shared_ptr<QVCCompanyInfo>& company);

    /// {"consumerRq": {"consumers": consumer}}. Unlike the sign-up document it
    /// carries consumerID and the row ids of the records, the company id as
    /// decimal text, "activeFlag" "y" whatever the record holds, the records'
    /// own type codes and no merchant type codes; nothing is filtered, so
    /// every absent value throws QVCException naming its key.
    static QVCJSON update(const std::shared_ptr<QVCConsumerInfo>& info, const std::shared_ptr<QVCCompanyInfo>& company,
                          const std::optional<std::string>& consumerID);
};
