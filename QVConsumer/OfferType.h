#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The kind of an offer's discount and its amounts, all as text.
struct QVCONSUMER_EXPORT OfferType {
    /// The type's name as the service spells it; validation compares it with "PERCENT OFF".
    std::optional<std::string> typeDescription = "";
    std::optional<std::string> percentOff = "";  ///< The percentage off, as text.
    std::optional<std::string> amountOff = "";   ///< The amount off, as text.
    std::optional<std::string> cardNumber = "";  ///< The punch card number, as text.
    /// The loyalty points that using the offer takes.
    std::optional<std::string> loyaltyPoint = "";
};
