#include <chrono>

#include "OffersTestSupport.h"

namespace {

class RedemptionTest : public ManagerTest {
protected:
    /// Local time is three hours ahead of UTC: 5 March 2024, 14:15:30 UTC is 17:15:30 here.
    ScopedEnvironment zone{"TZ", "XST-3"};
    std::chrono::system_clock::time_point now{std::chrono::seconds(1709648130)};
    Record<QVConsumerManager::RedemptionCompletion> result;

    void redeem(const QVCJSON& lookupAnswer, QVCResponse answer, const std::optional<QVCJSON>& amount = QVCJSON(12.5),
                const std::optional<QVCJSON>& reference = QVCJSON("ref-9")) {
        handler = std::make_shared<QVCScriptedWebServiceHandler>(GetParam());
        manager->setWebServiceHandler(handler);
        manager->setClock([this] { return now; });
        handler->answerWithBody(lookupAnswer);
        handler->answerWith(std::move(answer));
        manager->redeemOfferWithAmount(amount, " spring 20 ", reference, result.completion());
    }
};
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(RedemptionTest);

const QVCResponse located(QVCJSON::object(), QVCHeaders{{"Location", "/redeems/77"}}, nullptr);

TEST_P(RedemptionTest, LooksTheOfferUpThenPostsTheRedemptionWithTheServicesCodeAndLocalTime) {
    redeem(QVCJSON::array({offerEntry("c-1", "SPRING20")}), located);
    now += std::chrono::hours(1);  // the clock is read when the lookup answers
    deliver();
    const auto redemption = handler->requests().at(1);
    EXPECT_EQ(redemption.path, "lqsapi/consumers/v1/consumers/1234/offers/c-1/redeems");
    EXPECT_EQ(redemption.httpMethod, 1);
    EXPECT_EQ(*redemption.body,
              (QVCJSON{{"amount", 12.5},
                       {"offerCode", "SPRING20"},
                       {"referenceId", "ref-9"},
                       {"transactionDateTime", deferred() ? "03/05/2024 06:15 PM" : "03/05/2024 05:15 PM"}}));
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(result.get<0>(), Text("/redeems/77"));

    QVCJSON entry = offerEntry("c-1", "S");
    entry.erase("consumerOfferId");
    redeem(QVCJSON::array({entry}), QVCResponse(QVCJSON::object(), {}, nullptr), QVCJSON("12.50"), QVCJSON(""));
    deliver();
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumers/1234/offers/(null)/redeems");
    EXPECT_EQ(handler->lastRequest().body->at("amount"), "12.50");
    EXPECT_EQ(handler->lastRequest().body->at("referenceId"), "");
    EXPECT_FALSE(result.get<0>() || result.get<1>() || result.exception());
}

TEST_P(RedemptionTest, ArgumentLookupAndRedemptionErrorsArePassedOn) {
    redeem(QVCJSON::array(), located, QVCJSON(1), std::nullopt);
    EXPECT_EQ(onlyMessage(result.get<1>()),
              "Please make sure your transaction, offer code, reference ID exist and match each other");
    EXPECT_EQ(handler->requestCount(), 0U);
    redeem(QVCJSON::array(), located);
    deliver();
    EXPECT_EQ(onlyMessage(result.get<1>()), "This offer is not valid any more");
    EXPECT_EQ(handler->requestCount(), 1U);
    auto refused = QVCErrorResponse::initWithErrorMessages({"already redeemed"});
    redeem(QVCJSON::array({offerEntry("c-1", "S")}), QVCResponse(QVCJSON::object(), {{"location", "x"}}, refused));
    deliver();
    EXPECT_EQ(result.calls, 3);
    EXPECT_EQ(result.get<1>(), refused);
    EXPECT_FALSE(result.get<0>());
}

TEST_P(RedemptionTest, ALookupThatRaisesEndsWithoutCompletion) {
    QVCJSON entry = offerEntry("c-1", "S");
    entry.erase("offerCode");
    for (const auto& [answer, message] : std::vector<std::pair<QVCJSON, std::string>>{
             {QVCJSON::array({7}),
              "cannot read key \"consumerOfferId\" of offer document: it is a number, not an object"},
             {QVCJSON::array({entry}), "attempt to insert an absent value for key \"offerCode\""}}) {
        redeem(answer, located);
        EXPECT_EQ(messageOf([this] { deliver(); }), deferred() ? message : "");
        EXPECT_EQ(handler->requestCount(), 1U);
    }
    EXPECT_EQ(result.calls, 0);
}

}  // namespace
