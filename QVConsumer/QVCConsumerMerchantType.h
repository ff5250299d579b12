#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVCMerchantType.h"
#include "QVConsumer/QVConsumerExport.h"

/// A consumer's interest in a merchant type, paired with the type's reference
/// record. For the host's own forms: the library neither creates nor reads it
/// (a consumer keeps only the codes, in merchantTypes).
struct QVCONSUMER_EXPORT QVCConsumerMerchantType {
    std::optional<std::string> consumerMerchantTypeId = "";  ///< The preference row's id.
    bool activeFlag = true;                                  ///< Whether the preference is in force.
    std::shared_ptr<QVCMerchantType> merchantType = std::make_shared<QVCMerchantType>();  ///< The kind of merchant.
};
