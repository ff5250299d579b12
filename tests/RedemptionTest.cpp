#include <gtest/gtest.h>

#include <chrono>

#include "OffersTestSupport.h"

namespace {

using Text = std::optional<std::string>;

struct RedemptionResult {
    int calls = 0;
    Text location;
    QVConsumerManager::Error error;
    std::exception_ptr exception;

    QVConsumerManager::RedemptionCompletion completion() {
        return [this](Text received, QVConsumerManager::Error receivedError, std::exception_ptr receivedException) {
            ++calls;
            location = std::move(received);
            error = std::move(receivedError);
            exception = receivedException;
        };
    }
};

/// 5 March 2024, 14:15:30 UTC.
std::chrono::system_clock::time_point marchFifthAfternoon() {
    return std::chrono::system_clock::time_point(std::chrono::seconds(1709648130));
}

const char* const argumentMessage =
    "Please make sure your transaction, offer code, reference ID exist and match each other";

class RedemptionTest : public OffersTest {
protected:
    ScopedTimeZone utc{"UTC"};
    std::chrono::system_clock::time_point now = marchFifthAfternoon();

    void SetUp() override {
        manager->setClock([this] { return now; });
    }

    /// Redeems against a lookup answer and a redemption answer; returns the result after delivery.
    RedemptionResult redeem(const QVCJSON& lookupAnswer, QVCResponse redemptionAnswer,
                            const std::optional<QVCJSON>& amount = QVCJSON(12.5), const Text& code = " spring 20 ",
                            const std::optional<QVCJSON>& reference = QVCJSON("ref-9")) {
        handler->answerWithBody(lookupAnswer);
        handler->answerWith(std::move(redemptionAnswer));
        RedemptionResult result;
        const auto before = handler->requestCount();
        manager->redeemOfferWithAmount(amount, code, reference, result.completion());
        if (deferred()) {
            EXPECT_EQ(handler->requestCount(), before + 1);
            handler->releaseNext();
            EXPECT_EQ(result.calls, 0);
        }
        deliver();
        return result;
    }

    static QVCResponse located(const std::string& location) {
        return QVCResponse(QVCJSON::object(), QVCHeaders{{"Location", location}}, nullptr);
    }
};
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(RedemptionTest);

TEST_P(RedemptionTest, LooksTheOfferUpThenPostsTheRedemption) {
    const auto result = redeem(QVCJSON::array({offerEntry("c-1", "SPRING20")}), located("/redeems/77"));
    ASSERT_EQ(handler->requestCount(), 2U);
    EXPECT_EQ(handler->requests().at(0).path, "lqsapi/consumers/v1/consumers/1234/offers?offerCode=spring20");

    const auto redemption = handler->requests().at(1);
    EXPECT_EQ(redemption.path, "lqsapi/consumers/v1/consumers/1234/offers/c-1/redeems");
    EXPECT_EQ(redemption.httpMethod, 1);
    EXPECT_EQ(redemption.contextMessageType, "consumers");
    EXPECT_FALSE(redemption.headers);
    EXPECT_EQ(redemption.responseType, 0);
    EXPECT_EQ(redemption.simulateFilePath, manager->simulatePath());
    ASSERT_TRUE(redemption.body);
    // The service's own code goes into the body, not the typed one.
    EXPECT_EQ(*redemption.body, (QVCJSON{{"amount", 12.5},
                                         {"offerCode", "SPRING20"},
                                         {"referenceId", "ref-9"},
                                         {"transactionDateTime", "03/05/2024 02:15 PM"}}));

    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(result.location, Text("/redeems/77"));
    EXPECT_FALSE(result.error);
    EXPECT_FALSE(result.exception);
}

TEST_P(RedemptionTest, AmountAndReferenceKeepTheirKind) {
    redeem(QVCJSON::array({offerEntry("c-1", "S")}), located("x"), QVCJSON("12.50"), "S", QVCJSON(4711));
    const QVCJSON body = *handler->lastRequest().body;
    EXPECT_EQ(body.at("amount"), QVCJSON("12.50"));
    EXPECT_EQ(body.at("referenceId"), QVCJSON(4711));

    redeem(QVCJSON::array({offerEntry("c-1", "S")}), located("x"), QVCJSON(20), "S", QVCJSON(""));
    EXPECT_EQ(handler->lastRequest().body->at("amount"), QVCJSON(20));
    EXPECT_TRUE(handler->lastRequest().body->at("amount").is_number_integer());
    EXPECT_EQ(handler->lastRequest().body->at("referenceId"), QVCJSON(""));
}

TEST_P(RedemptionTest, TheTimeIsLocalWallClockOnATwelveHourClock) {
    {
        ScopedTimeZone plusThree("XST-3");
        redeem(QVCJSON::array({offerEntry("c-1", "S")}), located("x"));
        EXPECT_EQ(handler->lastRequest().body->at("transactionDateTime"), QVCJSON("03/05/2024 05:15 PM"));
    }
    now = std::chrono::system_clock::time_point(std::chrono::seconds(1704067200 + 59));  // 1 January 2024, 00:00:59
    redeem(QVCJSON::array({offerEntry("c-1", "S")}), located("x"));
    EXPECT_EQ(handler->lastRequest().body->at("transactionDateTime"), QVCJSON("01/01/2024 12:00 AM"));
}

TEST_P(RedemptionTest, TheClockIsReadWhenTheLookupAnswers) {
    handler->answerWithBody(QVCJSON::array({offerEntry("c-1", "S")}));
    handler->answerWith(located("x"));
    manager->redeemOfferWithAmount(QVCJSON(1), "S", QVCJSON(2), nullptr);
    now += std::chrono::hours(1);
    deliver();
    const std::string expected = deferred() ? "03/05/2024 03:15 PM" : "03/05/2024 02:15 PM";
    EXPECT_EQ(handler->lastRequest().body->at("transactionDateTime"), QVCJSON(expected));
}

TEST_P(RedemptionTest, AnOfferWithoutConsumerOfferIdPutsNullTextInThePath) {
    QVCJSON entry = offerEntry("c-1", "S");
    entry.erase("consumerOfferId");
    redeem(QVCJSON::array({entry}), located("x"));
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumers/1234/offers/(null)/redeems");
}

TEST_P(RedemptionTest, AnAnswerWithoutLocationGivesNothingAtAll) {
    const auto result = redeem(QVCJSON::array({offerEntry("c-1", "S")}), QVCResponse(QVCJSON::object(), {}, nullptr));
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.location);
    EXPECT_FALSE(result.error);
    EXPECT_FALSE(result.exception);
}

TEST_P(RedemptionTest, TheRedemptionErrorIsPassedOn) {
    auto refused = QVCErrorResponse::initWithErrorMessages({"already redeemed"});
    const auto result = redeem(QVCJSON::array({offerEntry("c-1", "S")}),
                               QVCResponse(QVCJSON::object(), QVCHeaders{{"location", "x"}}, refused));
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.location);
    EXPECT_EQ(result.error, refused);
}

TEST_P(RedemptionTest, AnOfferTheLookupDoesNotFindIsReportedWithoutRedemption) {
    handler->answerWithBody(QVCJSON::array());
    RedemptionResult result;
    manager->redeemOfferWithAmount(QVCJSON(1), "S", QVCJSON(2), result.completion());
    deliver();
    EXPECT_EQ(handler->requestCount(), 1U);
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(onlyMessage(result.error), "This offer is not valid any more");
}

TEST_P(RedemptionTest, AnyAbsentArgumentIsRefusedAtOnceWithoutRequest) {
    const std::optional<QVCJSON> none;
    RedemptionResult noAmount;
    RedemptionResult noCode;
    RedemptionResult noReference;
    manager->redeemOfferWithAmount(none, "S", QVCJSON(1), noAmount.completion());
    manager->redeemOfferWithAmount(QVCJSON(1), std::nullopt, QVCJSON(1), noCode.completion());
    manager->redeemOfferWithAmount(QVCJSON(1), "S", none, noReference.completion());
    for (const auto* result : {&noAmount, &noCode, &noReference}) {
        EXPECT_EQ(result->calls, 1);
        EXPECT_FALSE(result->location);
        EXPECT_EQ(onlyMessage(result->error), argumentMessage);
        EXPECT_FALSE(result->exception);
    }
    EXPECT_EQ(handler->requestCount(), 0U);
    EXPECT_NO_THROW(manager->redeemOfferWithAmount(none, none, none, nullptr));
}

TEST_P(RedemptionTest, ALookupThatRaisesEndsSilently) {
    handler->answerWithBody(QVCJSON::array({7}));
    RedemptionResult result;
    manager->redeemOfferWithAmount(QVCJSON(1), "S", QVCJSON(2), result.completion());
    const std::string escaped = deliverCatching();
    EXPECT_EQ(escaped,
              deferred() ? "cannot read key \"consumerOfferId\" of offer document: it is a number, not an object" : "");
    EXPECT_EQ(result.calls, 0);
    EXPECT_EQ(handler->requestCount(), 1U);
}

TEST_P(RedemptionTest, AnOfferWithoutItsOwnCodeCannotBeRedeemed) {
    QVCJSON entry = offerEntry("c-1", "S");
    entry.erase("offerCode");
    handler->answerWithBody(QVCJSON::array({entry}));
    RedemptionResult result;
    manager->redeemOfferWithAmount(QVCJSON(1), "S", QVCJSON(2), result.completion());
    const std::string escaped = deliverCatching();
    EXPECT_EQ(escaped, deferred() ? "attempt to insert an absent value for key \"offerCode\"" : "");
    EXPECT_EQ(result.calls, 0);
    EXPECT_EQ(handler->requestCount(), 1U);
}

}  // namespace
