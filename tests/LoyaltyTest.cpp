#include <gtest/gtest.h>

#include "ConsumerTestSupport.h"
#include "TestSupport.h"

namespace {

struct LoyaltyResult {
    int calls = 0;
    std::int64_t points = -1;
    std::optional<std::string> description;
    QVConsumerManager::Error error;
    std::exception_ptr exception;
    std::optional<std::string> loyaltySeen;
};

class LoyaltyTest : public ManagerTest {
protected:
    LoyaltyResult retrieve(QVCResponse answer) {
        handler->answerWith(std::move(answer));
        LoyaltyResult result;
        manager->retrieveLoyaltyInfo([&](std::int64_t points, std::optional<std::string> description,
                                         QVConsumerManager::Error error, std::exception_ptr exception) {
            ++result.calls;
            result = {result.calls, points, std::move(description), std::move(error), exception, manager->loyalty()};
        });
        deliver();
        return result;
    }
    LoyaltyResult retrieve(QVCJSON entry) { return retrieve(QVCResponse(QVCJSON{{"consumerRs", {entry}}}, {}, {})); }
};
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(LoyaltyTest);

TEST_P(LoyaltyTest, ReadsTheBalanceOfTheCurrentConsumerAndKeepsItFirst) {
    auto result =
        retrieve(QVCJSON{{"loyaltyPoints", 250}, {"loyaltyConsumerStatusResponse", {{{"description", "Gold"}}}}});
    const auto request = handler->lastRequest();
    EXPECT_EQ(request.path, "lqsapi/consumers/v1/consumer/1234/balance/loyalty");
    EXPECT_EQ(request.httpMethod, 0);
    EXPECT_FALSE(request.body || request.headers);
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(result.points, 250);
    EXPECT_EQ(result.description, "Gold");
    EXPECT_FALSE(result.error || result.exception);
    EXPECT_EQ(result.loyaltySeen, "250");  // set before the completion ran
}

TEST_P(LoyaltyTest, MissingStatusesGiveAnEmptyDescription) {
    auto text = retrieve(QVCJSON{{"loyaltyPoints", "75"}});
    EXPECT_EQ(text.points, 75);
    EXPECT_EQ(text.description, "");
    auto empty = retrieve(QVCJSON::object());
    EXPECT_EQ(empty.points, 0);
    EXPECT_EQ(empty.description, "");
    EXPECT_EQ(manager->loyalty(), "(null)");
    auto noDescription = retrieve(QVCJSON{{"loyaltyPoints", 5}, {"loyaltyConsumerStatusResponse", {{{"x", 1}}}}});
    EXPECT_FALSE(noDescription.description);
}

TEST_P(LoyaltyTest, AnAnswerWithoutAListLeavesLoyaltyAlone) {
    manager->setLoyalty("42");
    auto answerError = QVCErrorResponse::initWithErrorMessages({"down"});
    auto result = retrieve(QVCResponse(QVCJSON{{"consumerRs", QVCJSON::object()}}, {}, answerError));
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(result.points, 0);
    EXPECT_FALSE(result.description);
    EXPECT_EQ(result.error, answerError);
    EXPECT_EQ(manager->loyalty(), "42");
}

TEST_P(LoyaltyTest, AnAbsentConsumerIdIsSentAsNullText) {
    manager = makeManager(handler, std::nullopt);
    retrieve(QVCJSON::object());
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumer/(null)/balance/loyalty");
}

TEST_P(LoyaltyTest, UnfilteredNullPointsRaiseInTheAnswer) {
    handler->answerWithBody(QVCJSON{{"consumerRs", {{{"loyaltyPoints", nullptr}}}}});
    LoyaltyResult result;
    manager->retrieveLoyaltyInfo([&](std::int64_t, std::optional<std::string>, QVConsumerManager::Error,
                                     std::exception_ptr exception) { result.exception = exception; });
    if (GetParam() == QVCScriptedWebServiceHandler::Delivery::Immediate) {
        EXPECT_EQ(qvcMessage(result.exception), "consumerRs[0].loyaltyPoints is null and has no integer value");
    } else {
        EXPECT_THROW(handler->releaseNext(), QVCException);
    }
}

TEST_P(LoyaltyTest, AuthenticationClearsWhatABalanceReadStored) {
    retrieve(QVCJSON{{"loyaltyPoints", 10}});
    EXPECT_EQ(manager->loyalty(), "10");
    handler->answerWithBody(QVCJSON{{"httpResponseCode", 500}});
    manager->authenticateConsumerWithUserName("jdoe", nullptr);
    deliver();
    EXPECT_EQ(manager->loyalty(), "");
}

}  // namespace
