#pragma once

#include <ctime>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCOffer.h"
#include "TestSupport.h"
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

/// What one operation's completion received, and how often it was called.
struct OfferResult {
    int calls = 0;
    std::shared_ptr<QVCOffer> offer;
    QVConsumerManager::Error error;
    std::exception_ptr exception;

    QVConsumerManager::OfferCompletion completion() {
        return [this](std::shared_ptr<QVCOffer> received, QVConsumerManager::Error receivedError,
                      std::exception_ptr receivedException) {
            ++calls;
            offer = std::move(received);
            error = std::move(receivedError);
            exception = receivedException;
        };
    }
};

/// The only message of an error record; "" when there is no record.
inline std::string onlyMessage(const QVConsumerManager::Error& error) {
    if (!error) {
        return "";
    }
    EXPECT_EQ(error->errorMessages().size(), 1U);
    return error->errorMessages().empty() ? "" : error->errorMessages().front();
}

/// A manager fixture for the offer operations, in both delivery modes.
class OffersTest : public ManagerTest {
protected:
    /// Validation and redemption keep their manager alive in the callbacks
    /// they hand the handler, and the scripted handler keeps every callback it
    /// received: detaching the handler breaks that cycle.
    void TearDown() override { manager->setWebServiceHandler(nullptr); }

    bool deferred() const { return GetParam() == QVCScriptedWebServiceHandler::Delivery::Deferred; }

    /// Answers the waiting requests and returns the message of the
    /// QVCException that escapes the answer callbacks: in Deferred delivery no
    /// guard is active around them, so it reaches the test.
    std::string deliverCatching() {
        return messageOf([this] { deliver(); });
    }

    /// Delivers and checks where the exception raised while an answer is read
    /// ends up: in the completion, called once, in Immediate delivery (the
    /// request's guard is still active); out of the handler's release, with no
    /// completion call, in Deferred delivery.
    template <typename Result>
    void expectAnswerException(const Result& result, const std::string& message) {
        const std::string escaped = deliverCatching();
        EXPECT_EQ(escaped, deferred() ? message : "");
        EXPECT_EQ(result.calls, deferred() ? 0 : 1);
        EXPECT_EQ(exceptionMessage(result.exception), deferred() ? "" : message);
    }
};

/// Sets the process's time zone for the lifetime of the object.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const std::string& zone) : variable_(std::in_place, "TZ", zone) { ::tzset(); }
    ~ScopedTimeZone() {
        variable_.reset();
        ::tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<ScopedEnvironment> variable_;
};
