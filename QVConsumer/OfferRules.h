#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// An offer's limits, kept as the texts the service's values print as.
struct QVCONSUMER_EXPORT OfferRules {
    std::optional<std::string> redeemLimit = "";       ///< The redemption limit, as text.
    std::optional<std::string> transactionLimit = "";  ///< The limit per transaction, as text.
    std::optional<std::string> minPurchaseLimit = "";  ///< The smallest purchase the offer applies to, as text.
    /// Derived by the offer reader from the presence of a minimum purchase limit.
    bool combinable = false;
};
