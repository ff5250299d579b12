#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// An offer's limits, kept as the texts the service's values print as.
struct QVCONSUMER_EXPORT OfferRules {
    std::optional<std::string> redeemLimit = "";
    std::optional<std::string> transactionLimit = "";
    std::optional<std::string> minPurchaseLimit = "";
    /// Derived by the offer reader from the presence of a minimum purchase limit.
    bool combinable = false;
};
