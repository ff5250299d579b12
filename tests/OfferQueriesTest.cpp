#include "OffersTestSupport.h"

namespace {

using OfferQueriesTest = ManagerTest;
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(OfferQueriesTest);

const std::string offersPath = "lqsapi/consumers/v1/consumers/1234/offers";

TEST_P(OfferQueriesTest, ListsTheFacilitysOffersSkippingEntriesWithoutAnOffer) {
    handler->answerWithBody({offerEntry("c-1", "A"), {{"offer", nullptr}}, {{"offer", "x"}}, offerEntry("c-2", "B")});
    handler->answerWith(QVCResponse(QVCJSON::object(), {}, QVCErrorResponse::initWithErrorMessages({"down"})));
    Record<QVConsumerManager::OffersCompletion> listed;
    Record<QVConsumerManager::OffersCompletion> failed;
    manager->getAllOffersWithCompletionHandler(listed.completion());
    manager->getAllOffersWithCompletionHandler(failed.completion());
    deliver();
    EXPECT_EQ(handler->requests().at(0).path, offersPath + "?facilityId=7");
    EXPECT_EQ(handler->requests().at(0).httpMethod, 0);
    ASSERT_EQ(listed.get<0>()->size(), 2U);
    EXPECT_EQ(listed.get<0>()->at(1)->offerCode, Text("B"));
    EXPECT_FALSE(failed.get<0>());
    EXPECT_EQ(onlyMessage(failed.get<1>()), "down");
}

TEST_P(OfferQueriesTest, TheDetailQueryPassesTheErrorBesideTheOfferAndIgnoresOtherAnswers) {
    auto note = QVCErrorResponse::initWithErrorMessages({"partial"});
    handler->answerWith(QVCResponse(offerEntry("c-1", "A"), {}, note));
    handler->answerWithBody(QVCJSON::array({offerEntry("c-2", "B")}));
    Record<QVConsumerManager::OfferCompletion> found;
    Record<QVConsumerManager::OfferCompletion> silent;
    manager->getOfferDetailsWithOfferID(QVCJSON(77), found.completion());
    manager->getOfferDetailsWithOfferID(std::nullopt, silent.completion());
    deliver();
    EXPECT_EQ(handler->requests().at(0).path, offersPath + "/77");
    EXPECT_EQ(handler->requests().at(1).path, offersPath + "/(null)");
    EXPECT_EQ(found.get<0>()->consumerOfferId, Text("c-1"));
    EXPECT_EQ(found.get<1>(), note);
    EXPECT_EQ(silent.calls, 0);
}

TEST_P(OfferQueriesTest, TheCodeQueryRemovesEveryWhiteSpaceAndTakesTheFirstOffer) {
    for (const auto& [typed, sent] : std::vector<std::pair<Text, std::string>>{
             {" ab 1\t2\nA\rB\vC\f", "ab12ABC"},
             {"a\u00A0b\u3000c\u200B", "abc\u200B"},  // no-break and ideographic spaces go, zero-width stays
             {std::nullopt, "(null)"}}) {
        handler->answerWithBody({offerEntry("c-1", "A"), offerEntry("c-2", "B")});
        Record<QVConsumerManager::OfferCompletion> result;
        manager->getOfferWithOfferCode(typed, result.completion());
        deliver();
        EXPECT_EQ(handler->lastRequest().path, offersPath + "?offerCode=" + sent);
        EXPECT_EQ(result.get<0>()->consumerOfferId, Text("c-1"));
    }
    handler->answerWithBody(QVCJSON::array());
    Record<QVConsumerManager::OfferCompletion> none;
    manager->getOfferWithOfferCode("X", none.completion());
    deliver();
    EXPECT_EQ(none.calls, 1);
    EXPECT_EQ(onlyMessage(none.get<1>()), "This offer is not valid any more");
}

TEST_P(OfferQueriesTest, AnAnswerTheReaderRefusesRaisesInTheAnswerCallback) {
    handler->answerWithBody({offerEntry("c-1", "A"), 5});
    Record<QVConsumerManager::OffersCompletion> result;
    manager->getAllOffersWithCompletionHandler(result.completion());
    expectAnswerException(result, "cannot read key \"offer\" of offers[1]: it is a number, not an object");
}

}  // namespace
