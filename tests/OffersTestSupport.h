#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVCOffer.h"
#include "TestSupport.h"

using Text = std::optional<std::string>;

/// The only message of an error record; "" when there is no record.
inline std::string onlyMessage(const QVConsumerManager::Error& error) {
    return error && error->errorMessages().size() == 1 ? error->errorMessages()[0] : "";
}

/// One entry of the service's offer answers: a 20 percent offer of the given
/// type for products 11 and 12, without minimum purchase.
inline QVCJSON offerEntry(const std::string& consumerOfferId, const std::string& offerCode,
                          const std::string& type = "PERCENT OFF") {
    QVCJSON entry = {{"consumerOfferId", consumerOfferId}, {"offerCode", offerCode}};
    entry["offer"] = {{"offerId", 900}, {"offerName", "Spring"}, {"promoCode", "SP"}};
    entry["offer"]["offerDetails"] = {
        {"offerRules", {{"individualRedeemLimit", 1}, {"transactionLimit", "2"}}},
        {"offerType",
         {{"type", type}, {"dollarPercentageOff", 20}, {"dollarAmountOff", "5.50"}, {"loyaltyPoints", "0"}}},
        {"associatedProduct", {{{"productName", "Tea"}, {"productId", 11}, {"price", 3}}, {{"productId", "12abc"}}}},
        {"imageURL", "http://img/1.png"}};
    return entry;
}
