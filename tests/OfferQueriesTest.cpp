#include <gtest/gtest.h>

#include "OffersTestSupport.h"

namespace {

struct OffersResult {
    int calls = 0;
    std::optional<std::vector<std::shared_ptr<QVCOffer>>> offers;
    QVConsumerManager::Error error;
    std::exception_ptr exception;

    QVConsumerManager::OffersCompletion completion() {
        return [this](auto received, QVConsumerManager::Error receivedError, std::exception_ptr receivedException) {
            ++calls;
            offers = std::move(received);
            error = std::move(receivedError);
            exception = receivedException;
        };
    }
};

using OfferQueriesTest = OffersTest;
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(OfferQueriesTest);

void expectPlainRead(const QVCRecordedRequest& request, const std::string& path,
                     const std::optional<std::string>& simulatePath) {
    EXPECT_EQ(request.path, path);
    EXPECT_EQ(request.httpMethod, 0);
    EXPECT_EQ(request.contextMessageType, "consumers");
    EXPECT_FALSE(request.headers);
    EXPECT_FALSE(request.body);
    EXPECT_EQ(request.responseType, 0);
    EXPECT_EQ(request.simulateFilePath, simulatePath);
}

TEST_P(OfferQueriesTest, ListsTheOffersOfTheFacilitySkippingEntriesWithoutAnOffer) {
    manager->setSimulatePath("/sim/QVConsumerSimulate.json");
    QVCJSON withoutOffer = offerEntry("c-3", "C");
    withoutOffer.erase("offer");
    QVCJSON textOffer = offerEntry("c-4", "D");
    textOffer["offer"] = "not an offer";
    handler->answerWithBody(QVCJSON::array(
        {offerEntry("c-1", "A"), QVCJSON{{"offer", nullptr}}, withoutOffer, textOffer, offerEntry("c-2", "B")}));
    OffersResult result;
    manager->getAllOffersWithCompletionHandler(result.completion());
    EXPECT_EQ(result.calls, deferred() ? 0 : 1);
    deliver();

    expectPlainRead(handler->lastRequest(), "lqsapi/consumers/v1/consumers/1234/offers?facilityId=7",
                    "/sim/QVConsumerSimulate.json");
    EXPECT_EQ(result.calls, 1);
    ASSERT_TRUE(result.offers);
    ASSERT_EQ(result.offers->size(), 2U);
    EXPECT_EQ(result.offers->at(0)->consumerOfferId, std::optional<std::string>("c-1"));
    EXPECT_EQ(result.offers->at(1)->offerCode, std::optional<std::string>("B"));
    EXPECT_FALSE(result.error);
    EXPECT_FALSE(result.exception);
}

TEST_P(OfferQueriesTest, AnEmptyListIsAnEmptyResultNotAnError) {
    handler->answerWithBody(QVCJSON::array());
    OffersResult result;
    manager->getAllOffersWithCompletionHandler(result.completion());
    deliver();
    ASSERT_TRUE(result.offers);
    EXPECT_TRUE(result.offers->empty());
}

TEST_P(OfferQueriesTest, AListAnswerThatIsNoArrayPassesTheResponseError) {
    auto serviceError = QVCErrorResponse::initWithErrorMessages({"down"});
    handler->answerWith(QVCResponse(QVCJSON{{"consumerRs", QVCJSON::array()}}, {}, serviceError));
    handler->answerWithBody(QVCJSON::object());
    OffersResult failed;
    OffersResult silent;
    manager->getAllOffersWithCompletionHandler(failed.completion());
    manager->getAllOffersWithCompletionHandler(silent.completion());
    deliver();
    EXPECT_EQ(failed.calls, 1);
    EXPECT_FALSE(failed.offers);
    EXPECT_EQ(failed.error, serviceError);
    EXPECT_EQ(silent.calls, 1);
    EXPECT_FALSE(silent.offers);
    EXPECT_FALSE(silent.error);
    EXPECT_FALSE(silent.exception);
}

TEST_P(OfferQueriesTest, AListEntryThatIsNoObjectRaisesInTheAnswer) {
    handler->answerWithBody(QVCJSON::array({offerEntry("c-1", "A"), 5}));
    OffersResult result;
    manager->getAllOffersWithCompletionHandler(result.completion());
    expectAnswerException(result, "cannot read key \"offer\" of offers[1]: it is a number, not an object");
    EXPECT_FALSE(result.offers);
}

TEST_P(OfferQueriesTest, ReadsOneOfferByIdAndPassesTheErrorBesideIt) {
    auto note = QVCErrorResponse::initWithErrorMessages({"partial"});
    handler->answerWith(QVCResponse(offerEntry("c-1", "A"), {}, note));
    OfferResult result;
    manager->getOfferDetailsWithOfferID(QVCJSON(77), result.completion());
    deliver();
    expectPlainRead(handler->lastRequest(), "lqsapi/consumers/v1/consumers/1234/offers/77", manager->simulatePath());
    EXPECT_EQ(result.calls, 1);
    ASSERT_TRUE(result.offer);
    EXPECT_EQ(result.offer->consumerOfferId, std::optional<std::string>("c-1"));
    EXPECT_EQ(result.error, note);
}

TEST_P(OfferQueriesTest, TheDetailQueryCallsNothingWhenTheAnswerIsNoOfferDocument) {
    handler->answerWithBody(QVCJSON::array({offerEntry("c-1", "A")}));
    handler->answerWith(QVCResponse(std::nullopt, {}, QVCErrorResponse::initWithErrorMessages({"gone"})));
    OfferResult result;
    manager->getOfferDetailsWithOfferID(QVCJSON("o-1"), result.completion());
    manager->getOfferDetailsWithOfferID(std::nullopt, result.completion());
    deliver();
    EXPECT_EQ(handler->requestCount(), 2U);
    EXPECT_EQ(handler->requests().at(0).path, "lqsapi/consumers/v1/consumers/1234/offers/o-1");
    EXPECT_EQ(handler->requests().at(1).path, "lqsapi/consumers/v1/consumers/1234/offers/(null)");
    EXPECT_EQ(result.calls, 0);
}

TEST_P(OfferQueriesTest, LooksACodeUpWithoutItsWhiteSpaceAndTakesTheFirstOffer) {
    handler->answerWithBody(QVCJSON::array({offerEntry("c-1", "A"), offerEntry("c-2", "B"), offerEntry("c-3", "C")}));
    OfferResult result;
    manager->getOfferWithOfferCode(" ab 12\t", result.completion());
    deliver();
    expectPlainRead(handler->lastRequest(), "lqsapi/consumers/v1/consumers/1234/offers?offerCode=ab12",
                    manager->simulatePath());
    EXPECT_EQ(result.calls, 1);
    ASSERT_TRUE(result.offer);
    EXPECT_EQ(result.offer->consumerOfferId, std::optional<std::string>("c-1"));
    EXPECT_FALSE(result.error);
}

TEST_P(OfferQueriesTest, EveryKindOfWhiteSpaceIsRemovedAndLetterCaseKept) {
    const std::vector<std::pair<std::optional<std::string>, std::string>> codes = {
        {"\nSp\rRi\vNg\f2 0\n", "SpRiNg20"},
        {"a\xC2\xA0"
         "b\xE3\x80\x80"
         "c\xE2\x80\x83"
         "d\xE2\x80\xA8"
         "e",
         "abcde"},
        {"caf\xC3\xA9 \xE2\x80\x8B", "caf\xC3\xA9\xE2\x80\x8B"},
        {"", ""},
        {std::nullopt, "(null)"}};
    for (const auto& [typed, sent] : codes) {
        handler->answerWithBody(QVCJSON::array());
        manager->getOfferWithOfferCode(typed, nullptr);
        deliver();
        EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumers/1234/offers?offerCode=" + sent);
    }
}

TEST_P(OfferQueriesTest, AnEmptyCodeAnswerMeansTheOfferIsNoLongerValid) {
    handler->answerWithBody(QVCJSON::array());
    OfferResult result;
    manager->getOfferWithOfferCode("X", result.completion());
    deliver();
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.offer);
    EXPECT_EQ(onlyMessage(result.error), "This offer is not valid any more");
    EXPECT_FALSE(result.exception);
}

TEST_P(OfferQueriesTest, ACodeAnswerThatIsNoArrayPassesTheResponseError) {
    auto serviceError = QVCErrorResponse::initWithErrorMessages({"unknown code"});
    handler->answerWith(QVCResponse(offerEntry("c-1", "A"), {}, serviceError));
    OfferResult result;
    manager->getOfferWithOfferCode("X", result.completion());
    deliver();
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.offer);
    EXPECT_EQ(result.error, serviceError);
}

TEST_P(OfferQueriesTest, AnOfferDocumentTheReaderRefusesRaisesInTheAnswer) {
    QVCJSON broken = offerEntry("c-1", "A");
    broken["offer"]["offerDetails"]["offerType"] = nullptr;
    handler->answerWithBody(QVCJSON::array({broken}));
    OfferResult result;
    manager->getOfferWithOfferCode("A", result.completion());
    expectAnswerException(result,
                          "cannot read key \"type\" of offer.offerDetails.offerType: it is null, not an object");
    EXPECT_FALSE(result.offer);
}

}  // namespace
