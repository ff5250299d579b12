#include <gtest/gtest.h>

#include "ConsumerTestSupport.h"
#include "TestSupport.h"

namespace {

using AuthenticationTest = ManagerTest;
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(AuthenticationTest);

TEST_P(AuthenticationTest, JdoeBecomesTheCurrentConsumerAndLaterPathsUseTheId) {
    manager->setLoyalty("250");
    QVCJSON second = consumerDocument();
    second["consumerId"] = "99";
    handler->answerWithBody(QVCJSON{{"consumers", {consumerDocument(), second}}});
    ConsumerResult result;
    manager->authenticateConsumerWithUserName("jdoe", result.completion());
    EXPECT_EQ(manager->loyalty(), "");  // cleared before any answer
    deliver();

    const auto request = handler->lastRequest();
    EXPECT_EQ(request.path, "lqsapi/consumers/v1/consumer/jdoe/authenticate");
    EXPECT_EQ(request.httpMethod, 0);
    EXPECT_EQ(request.contextMessageType, "consumers");
    EXPECT_FALSE(request.headers || request.body);
    EXPECT_EQ(request.responseType, 0);
    EXPECT_EQ(request.simulateFilePath, manager->simulatePath());
    ASSERT_EQ(result.calls, 1);
    ASSERT_TRUE(result.consumer);
    EXPECT_FALSE(result.error || result.exception);
    EXPECT_EQ(result.consumer->consumerID, 5150);
    EXPECT_EQ(result.consumer->personalInfo->consumerName, "jdoe");  // not the document's "doc-user"
    EXPECT_EQ(manager->consumerID(), "5150");

    handler->answerWithBody(QVCJSON{{"consumerRs", {{{"loyaltyPoints", 3}}}}});
    manager->retrieveLoyaltyInfo(nullptr);
    deliver();
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumer/5150/balance/loyalty");
    EXPECT_EQ(manager->loyalty(), "3");
}

TEST_P(AuthenticationTest, TheIdIsHandedToThePlatformAsDecimalText) {
    std::optional<std::string> offered;
    manager->setConsumerIDValidator([&](const std::optional<std::string>& id) {
        offered = id;
        return QVConsumerManager::Error();
    });
    handler->answerWithBody(QVCJSON{{"consumers", {QVCJSON::object()}}});
    ConsumerResult result;
    manager->authenticateConsumerWithUserName("", result.completion());
    deliver();
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumer//authenticate");
    EXPECT_EQ(offered, "0");
    EXPECT_TRUE(result.consumer);
}

TEST_P(AuthenticationTest, ARefusedIdReportsTheAnswersOwnErrorOnly) {
    manager->setConsumerIDValidator(
        [](const std::optional<std::string>&) { return QVCErrorResponse::initWithErrorMessages({"refused"}); });
    auto answerError = QVCErrorResponse::initWithErrorMessages({"answer"});
    handler->answerWithBody(QVCJSON{{"consumers", {consumerDocument()}}});
    handler->answerWith(QVCResponse(QVCJSON{{"consumers", {consumerDocument()}}}, {}, answerError));
    ConsumerResult clean;
    ConsumerResult withError;
    manager->authenticateConsumerWithUserName("jdoe", clean.completion());
    manager->authenticateConsumerWithUserName("jdoe", withError.completion());
    deliver();
    EXPECT_EQ(clean.calls, 1);
    EXPECT_FALSE(clean.consumer || clean.error || clean.exception);
    EXPECT_FALSE(withError.consumer);
    EXPECT_EQ(withError.error, answerError);
    EXPECT_EQ(manager->consumerID(), "1234");
}

TEST_P(AuthenticationTest, AnswersWithoutAConsumerList) {
    auto answerError = QVCErrorResponse::initWithErrorMessages({"not found"});
    handler->answerWithBody(QVCJSON{{"httpResponseCode", 401}});
    handler->answerWith(QVCResponse(QVCJSON{{"consumers", QVCJSON::object()}}, {}, answerError));
    handler->answerWith(QVCResponse(std::nullopt, {}, answerError));
    ConsumerResult coded, object, empty;
    manager->authenticateConsumerWithUserName("a", coded.completion());
    manager->authenticateConsumerWithUserName("b", object.completion());
    manager->authenticateConsumerWithUserName("c", empty.completion());
    deliver();
    ASSERT_TRUE(coded.error);
    EXPECT_EQ(coded.error->errorMessages(), std::vector<std::string>{"401"});
    EXPECT_EQ(object.error, answerError);
    EXPECT_EQ(empty.error, answerError);
    EXPECT_FALSE(coded.consumer || object.consumer || empty.consumer);
}

TEST_P(AuthenticationTest, AnAbsentUserNameFailsBeforeTheRequestButAfterClearingLoyalty) {
    manager->setLoyalty("80");
    ConsumerResult result;
    manager->authenticateConsumerWithUserName(std::nullopt, result.completion());
    deliver();
    EXPECT_EQ(handler->requestCount(), 0u);
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.consumer || result.error);
    EXPECT_EQ(qvcMessage(result.exception), "cannot build the authentication path: the user name is absent");
    EXPECT_EQ(manager->loyalty(), "");
}

TEST_P(AuthenticationTest, AMalformedConsumerDocumentRaisesInTheAnswer) {
    handler->answerWithBody(QVCJSON{{"consumers", QVCJSON::array()}});
    ConsumerResult result;
    manager->authenticateConsumerWithUserName("jdoe", result.completion());
    if (GetParam() == QVCScriptedWebServiceHandler::Delivery::Immediate) {
        EXPECT_EQ(qvcMessage(result.exception), "cannot take element 0 of consumers: it holds 0 elements");
    } else {
        EXPECT_THROW(handler->releaseNext(), QVCException);
        EXPECT_EQ(result.calls, 0);
    }
}

}  // namespace
