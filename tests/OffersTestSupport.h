#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCOffer.h"
#include "TestSupport.h"

using Text = std::optional<std::string>;

/// The message of the QVCException held by exception; "" when there is none.
inline std::string exceptionMessage(std::exception_ptr exception) {
    try {
        if (exception) {
            std::rethrow_exception(exception);
        }
    } catch (const QVCException& caught) {
        return caught.what();
    }
    return "";
}

/// The message of the QVCException that run throws; "" when it throws none.
template <typename Run>
std::string messageOf(const Run& run) {
    try {
        run();
    } catch (...) {
        return exceptionMessage(std::current_exception());
    }
    return "";
}

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

/// Records the calls of a completion of type std::function<void(Args...)>.
template <typename Completion>
struct Record;
template <typename... Args>
struct Record<std::function<void(Args...)>> {
    int calls = 0;
    std::tuple<std::decay_t<Args>...> last;

    std::function<void(Args...)> completion() {
        return [this](Args... received) {
            ++calls;
            last = std::make_tuple(received...);
        };
    }
    template <std::size_t Index>
    const auto& get() const {
        return std::get<Index>(last);
    }
    std::exception_ptr exception() const { return std::get<sizeof...(Args) - 1>(last); }
};

/// A manager fixture for the offer operations, in both delivery modes.
class OffersTest : public ManagerTest {
protected:
    /// Validation and redemption keep their manager alive in the callbacks
    /// they hand the handler, and the scripted handler keeps every callback it
    /// received: detaching the handler breaks that cycle.
    void TearDown() override { manager->setWebServiceHandler(nullptr); }

    bool deferred() const { return GetParam() == QVCScriptedWebServiceHandler::Delivery::Deferred; }

    /// Delivers and checks where an exception raised while an answer is read
    /// ends up: in the completion, called once, in Immediate delivery (the
    /// request's guard is still active); out of the handler's release, with no
    /// completion call, in Deferred delivery.
    template <typename Result>
    void expectAnswerException(const Result& result, const std::string& message) {
        EXPECT_EQ(messageOf([this] { deliver(); }), deferred() ? message : "");
        EXPECT_EQ(result.calls, deferred() ? 0 : 1);
        EXPECT_EQ(exceptionMessage(result.exception()), deferred() ? "" : message);
    }
};
