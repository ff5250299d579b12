// The future and blocking forms over the scripted handler, in both deliveries:
// each ends exactly once, on the completion, on a silent path, on a raising
// reader, when its handler drops it, at its deadline, or when waited for on
// the delivering thread.

#include <chrono>
#include <future>

#include "OffersTestSupport.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVConsumerCalls.h"

namespace {

using namespace std::chrono_literals;

class CallStyles : public ManagerTest {
protected:
    QVConsumerCalls calls{manager};

    template <typename Result>
    static bool ready(const QVCFuture<Result>& future) {
        return future.wait_for(0s) == std::future_status::ready;
    }
};

TEST_P(CallStyles, CompletedCallsCarryTheCompletionsArguments) {
    handler->answerWithBody(QVCJSON::array({offerEntry("c-1", "SAVE"), offerEntry("c-2", "MORE")}));
    handler->answerWithBody(QVCJSON::array());
    handler->answerWithBody(
        QVCJSON::parse(R"({"consumerRs": [{"loyaltyPoints": 120, "loyaltyConsumerStatusResponse": []}]})"));
    auto offer = calls.getOfferWithOfferCode(" SA VE ");
    auto none = calls.getOfferWithOfferCode("GONE");
    auto loyalty = calls.retrieveLoyaltyInfo();
    EXPECT_EQ(ready(offer), !deferred());
    deliver();
    ASSERT_TRUE(ready(offer) && ready(none) && ready(loyalty));

    const auto found = offer.get();
    EXPECT_TRUE(found.ok());
    EXPECT_EQ(found.value()->consumerOfferId, "c-1");
    const auto refused = none.get();
    EXPECT_EQ(refused.ending(), QVCCallEnding::Completed);
    EXPECT_FALSE(refused.ok());
    EXPECT_FALSE(refused.value());
    EXPECT_EQ(onlyMessage(refused.error()), "This offer is not valid any more");
    const auto [points, status] = loyalty.get().values();
    EXPECT_EQ(points, 120);
    EXPECT_EQ(status, "");

    // The local rules check is ready before the call returns, on every delivery.
    auto check = calls.offerRulesCheck(nullptr, "5", nullptr);
    ASSERT_TRUE(ready(check));
    EXPECT_TRUE(check.get().value());
}

TEST_P(CallStyles, SilentPathsEndWithoutAnAnswerOnceTheLibraryLetsGo) {
    auto refusal = QVCErrorResponse::initWithErrorMessages({"GET path refused"}, QVCErrorResponse::Kind::PathRefused);
    handler->answerWithBody(QVCJSON::array());                    // an offer detail that is a list
    handler->answerWith(QVCResponse(std::nullopt, {}, refusal));  // a refused offer id
    handler->answerWithBody(QVCJSON::array({7}));                 // a redemption lookup that raises
    auto list = calls.getOfferDetailsWithOfferID(QVCJSON("7"));
    auto refused = calls.getOfferDetailsWithOfferID(QVCJSON("a/b"));
    auto redemption = calls.redeemOfferWithAmount(QVCJSON(5), "SAVE", QVCJSON("R1"));
    EXPECT_EQ(ready(list), !deferred());
    EXPECT_EQ(messageOf([this] { deliver(); }),
              deferred() ? "cannot read key \"consumerOfferId\" of offer document: it is a number, not an object" : "");
    // Ready once delivered: a wait for them could not hang.
    ASSERT_TRUE(ready(list) && ready(refused) && ready(redemption));

    const auto silent = list.get();
    EXPECT_EQ(silent.ending(), QVCCallEnding::NoAnswer);
    EXPECT_EQ(onlyMessage(silent.error()), "getOfferDetailsWithOfferID: the operation ended without an answer");
    EXPECT_FALSE(silent.value());
    EXPECT_EQ(onlyMessage(refused.get().error()),
              "getOfferDetailsWithOfferID: the operation ended without an answer (GET path refused)");
    // The lookup's exception, caught by the lookup's guard or raised out of its answer, ends the redemption.
    const auto redeemed = redemption.get();
    EXPECT_EQ(redeemed.ending(), QVCCallEnding::NoAnswer);
    EXPECT_THAT(exceptionMessage(redeemed.exception()), HasSubstr("it is a number, not an object"));
    EXPECT_EQ(handler->requestCount(), 3U);
}

TEST_P(CallStyles, AReaderThatRaisesEndsTheCallWithItsException) {
    handler->answerWithBody(QVCJSON::array({7}));
    auto offers = calls.getAllOffersWithCompletionHandler();
    // Out of the release, as callback users see it, when the answer comes later.
    const std::string message = "cannot read key \"offer\" of offers[0]: it is a number, not an object";
    EXPECT_EQ(messageOf([this] { deliver(); }), deferred() ? message : "");
    ASSERT_TRUE(ready(offers));
    const auto result = offers.get();
    EXPECT_EQ(result.ending(), deferred() ? QVCCallEnding::NoAnswer : QVCCallEnding::Completed);
    EXPECT_EQ(exceptionMessage(result.exception()), message);
    EXPECT_FALSE(result.value());
}

TEST_P(CallStyles, ARequestItsHandlerDropsEndsWithoutAnAnswer) {
    if (!deferred()) {
        GTEST_SKIP() << "an answer given inside the request call leaves no request to drop";
    }
    auto push = calls.setPushDeviceToken(QVCJSON("token"));
    EXPECT_FALSE(ready(push));
    manager->setWebServiceHandler(nullptr);
    handler.reset();
    ASSERT_TRUE(ready(push));
    EXPECT_EQ(push.get().ending(), QVCCallEnding::NoAnswer);
}

TEST_P(CallStyles, TheBlockingFormWaitsUntilItsDeadline) {
    handler->answerWithBody({{"consumerRs", QVCJSON::object()}});
    const auto result = calls.getMasterDataWithCompletionWithCompletion(20ms);
    if (deferred()) {
        EXPECT_EQ(result.ending(), QVCCallEnding::TimedOut);
        EXPECT_EQ(result.error()->kind(), QVCErrorResponse::Kind::Timeout);
        EXPECT_EQ(onlyMessage(result.error()),
                  "getMasterDataWithCompletionWithCompletion: no answer before the deadline");
        // The call goes on; its late answer harms nothing.
        EXPECT_EQ(handler->releaseAll(), 1U);
    } else {
        EXPECT_TRUE(result.ok());
        EXPECT_TRUE(result.value());
    }
}

TEST_P(CallStyles, WaitingOnTheDeliveringThreadEndsAtOnce) {
    for (const char* id : {"c-0", "c-1", "c-2"}) {
        handler->answerWithBody(QVCJSON::array({offerEntry(id, "SAVE")}));
    }
    QVConsumerCalls::OfferResult inner;
    std::future_status waited = std::future_status::ready;
    std::size_t requestsSeen = 0;
    auto pending = std::make_shared<QVCFuture<QVConsumerCalls::OfferResult>>();
    manager->getAllOffersWithCompletionHandler([&](auto, auto, auto) {
        *pending = calls.getOfferWithOfferCode("SAVE");
        waited = pending->wait_for(30s);
        requestsSeen = handler->requestCount();
        inner = calls.getOfferWithOfferCode("MORE", 30s);
    });
    deliver();
    if (deferred()) {
        EXPECT_EQ(waited, std::future_status::timeout);
        EXPECT_EQ(inner.ending(), QVCCallEnding::OnDeliveryThread);
        EXPECT_THAT(onlyMessage(inner.error()),
                    HasSubstr("getOfferWithOfferCode: waited for on a thread that delivers"));
        // The blocking form sent nothing; the future's call was sent and ends normally off that thread.
        EXPECT_EQ(handler->requestCount(), requestsSeen);
        ASSERT_TRUE(ready(*pending));
        EXPECT_EQ(pending->get().value()->consumerOfferId, "c-1");
    } else {
        // Answered inside the request call: nothing waits, both are ready.
        EXPECT_EQ(waited, std::future_status::ready);
        EXPECT_EQ(inner.value()->consumerOfferId, "c-2");
    }
}

QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(CallStyles);

}  // namespace
