#pragma once

#include <exception>
#include <string>

#include "QVConsumer/QVCException.h"
#include "platform/QVCJSON.h"

/// The message of a QVCException held by exception; "" when there is none,
/// "<other exception>" when it holds another kind.
inline std::string exceptionMessage(std::exception_ptr exception) {
    if (!exception) {
        return "";
    }
    try {
        std::rethrow_exception(exception);
    } catch (const QVCException& caught) {
        return caught.what();
    } catch (...) {
        return "<other exception>";
    }
}

/// The message of the QVCException that read throws; "" when it throws none.
template <typename Read>
std::string messageOf(const Read& read) {
    try {
        read();
    } catch (const QVCException& caught) {
        return caught.what();
    }
    return "";
}

/// One entry of the service's offer answers, with a type, amounts, a minimum
/// purchase and two associated products (ids 11 and 12).
inline QVCJSON offerEntry(const std::string& consumerOfferId, const std::string& offerCode,
                          const std::string& type = "PERCENT OFF") {
    return QVCJSON{{"consumerOfferId", consumerOfferId},
                   {"offerCode", offerCode},
                   {"offer",
                    {{"offerId", 900},
                     {"offerName", "Spring sale"},
                     {"promoCode", "SPRING"},
                     {"offerDescription", "Twenty off"},
                     {"offerDetails",
                      {{"offerRules", {{"individualRedeemLimit", 1}, {"transactionLimit", "2"}}},
                       {"offerType",
                        {{"type", type},
                         {"dollarPercentageOff", 20},
                         {"dollarAmountOff", "5.50"},
                         {"punchCardNumber", nullptr},
                         {"loyaltyPoints", "0"}}},
                       {"associatedProduct", {{{"productName", "Tea"}, {"productId", 11}}, {{"productId", "12"}}}},
                       {"imageURL", "http://img/1.png"}}}}}};
}
