#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVCAddress.h"
#include "QVConsumer/QVCEmail.h"
#include "QVConsumer/QVCPhone.h"
#include "QVConsumer/QVConsumerExport.h"

/// The consumer's one contact: an e-mail address, a telephone number and a
/// postal address, each its own record.
struct QVCONSUMER_EXPORT QVCContactInfo {
    std::optional<std::string> contactId = "1";                                ///< The contact row's id.
    std::optional<std::string> contactTypeCode = "1";                          ///< Contact type code.
    std::shared_ptr<QVCEmail> emailInfo = std::make_shared<QVCEmail>();        ///< E-mail address.
    std::shared_ptr<QVCPhone> phoneInfo = std::make_shared<QVCPhone>();        ///< Phone number.
    std::shared_ptr<QVCAddress> addressInfo = std::make_shared<QVCAddress>();  ///< Postal address.
};
