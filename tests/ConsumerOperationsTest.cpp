#include "ConsumerTestSupport.h"

namespace {

/// Authentication, sign-up, update and the loyalty balance, in both delivery modes.
class ConsumerOperationsTest : public ManagerTest {
protected:
    std::shared_ptr<QVCConsumerInfo> info = formConsumer();
    QVConsumerManager::Error answerError = QVCErrorResponse::initWithErrorMessages({"answer"});
    std::int64_t points = -1;
    std::optional<std::string> description, loyaltySeen;  // loyaltySeen: the manager's loyalty inside the completion
    QVConsumerManager::Error balanceError;

    void retrieveBalance() {
        manager->retrieveLoyaltyInfo([this](auto points_, auto description_, auto error, auto) {
            points = points_, description = description_, balanceError = error, loyaltySeen = manager->loyalty();
        });
        deliver();
    }
    /// Makes the platform refuse one consumer id with an error of its own.
    void refuse(std::string id) {
        manager->setConsumerIDValidator([id](const std::optional<std::string>& offered) {
            return offered == id ? QVCErrorResponse::initWithErrorMessages({"refused"}) : nullptr;
        });
    }
};
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(ConsumerOperationsTest);

TEST_P(ConsumerOperationsTest, JdoeAuthenticatesAndReadsTheBalanceOfTheNewId) {
    manager->setLoyalty("250");
    handler->answerWithBody(QVCJSON{{"consumers", {consumerDocument(), {{"consumerId", 99}}}}});
    handler->answerWithBody(QVCJSON::parse(
        R"({"consumerRs": [{"loyaltyPoints": 80, "loyaltyConsumerStatusResponse": [{"description": "Gold"}]}]})"));
    ConsumerResult result;
    manager->authenticateConsumerWithUserName("jdoe", result.completion());
    EXPECT_EQ(manager->loyalty(), "");  // cleared before any answer
    deliver();
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumer/jdoe/authenticate");
    EXPECT_FALSE(handler->lastRequest().httpMethod || handler->lastRequest().body);
    ASSERT_TRUE(result.get<0>());
    EXPECT_EQ(texts(std::to_string(result.get<0>()->consumerID), result.get<0>()->personalInfo->consumerName),
              texts("5150", "jdoe"));  // not the document's "doc-user"
    retrieveBalance();
    EXPECT_EQ(handler->lastRequest().path + " " + std::to_string(handler->lastRequest().httpMethod),
              "lqsapi/consumers/v1/consumer/5150/balance/loyalty 0");
    EXPECT_EQ(texts(std::to_string(points), description, loyaltySeen), texts("80", "Gold", "80"));
}

TEST_P(ConsumerOperationsTest, AuthenticationFailuresReportTheAnswersErrorNeverThePlatforms) {
    refuse("0");
    handler->answerWithBody(QVCJSON{{"consumers", {QVCJSON::object()}}});  // id 0, refused
    handler->answerWith(QVCResponse(QVCJSON{{"consumers", {QVCJSON::object()}}}, {}, answerError));
    handler->answerWithBody(QVCJSON{{"httpResponseCode", 401}});
    handler->answerWith(QVCResponse(QVCJSON{{"consumers", QVCJSON::object()}}, {}, answerError));
    std::vector<ConsumerResult> results(5);
    for (auto& result : results) {
        auto userName = &result == &results[4] ? std::nullopt : std::optional<std::string>("");
        manager->authenticateConsumerWithUserName(userName, result.completion());
    }
    deliver();
    EXPECT_EQ(handler->requestCount(), 4u);  // none for the absent user name
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumer//authenticate");
    EXPECT_EQ(std::vector<QVConsumerManager::Error>({results[0].error(), results[1].error(), results[3].error()}),
              std::vector<QVConsumerManager::Error>({nullptr, answerError, answerError}));
    ASSERT_TRUE(results[2].error());
    EXPECT_EQ(results[2].error()->errorMessages(), std::vector<std::string>{"401"});
    EXPECT_EQ(exceptionMessage(results[4].exception()),
              "cannot build the authentication path: the user name is absent");
    for (const auto& result : results) {
        EXPECT_TRUE(result.calls == 1 && !result.get<0>());
    }
    EXPECT_EQ(manager->consumerID(), "1234");
}

TEST_P(ConsumerOperationsTest, SignUpThenUpdateHandBackTheCallersRecordWithTheNewId) {
    handler->answerWithBody(QVCJSON{{"consumers", {{"consumerId", 5678}}}});
    handler->answerWithBody(QVCJSON{{"consumers", {{"consumerId", "0042x"}}}});
    const QVCJSON signUpBody = manager->signUpDocument(info);
    ConsumerResult signedUp, updated;
    manager->signUpNewUserWithDetails(info, signedUp.completion());
    deliver();
    EXPECT_TRUE(signedUp.get<0>() == info && info->consumerID == 5678);
    manager->updateConsumerProfile(info, updated.completion());
    deliver();
    EXPECT_TRUE(updated.get<0>() == info && !updated.error() && !updated.exception());
    EXPECT_EQ(texts(manager->consumerID(), std::to_string(info->consumerID)), texts("0042x", "42"));
    const auto requests = handler->requests();
    EXPECT_EQ(requests.at(0).body, signUpBody);
    EXPECT_EQ(requests.at(1).body->at("consumerRq").at("consumers").at("consumerId"), "5678");  // the signed-up id
    for (const auto& request : requests) {
        EXPECT_EQ(request.path + " " + std::to_string(request.httpMethod), "lqsapi/consumers/v1/consumer 1");
    }
}

TEST_P(ConsumerOperationsTest, SignUpAndUpdateAnswersThatSetNoId) {
    refuse("77");
    handler->answerWith(QVCResponse(QVCJSON{{"consumers", {{"consumerId", 77}}}}, {}, answerError));
    info->consumerID = 3;
    ConsumerResult refused, unwritable;
    manager->updateConsumerProfile(info, refused.completion());
    manager->updateConsumerProfile(nullptr, unwritable.completion());
    deliver();
    EXPECT_EQ(refused.error(), answerError);  // not the platform's "refused"
    EXPECT_FALSE(refused.get<0>() || refused.exception());
    EXPECT_EQ(exceptionMessage(unwritable.exception()),
              "cannot build the consumer document: the consumer record is absent");
    EXPECT_EQ(handler->requestCount(), 1u);
    EXPECT_EQ(texts(manager->consumerID(), std::to_string(info->consumerID)), texts("1234", "3"));
    handler->answerWithBody(QVCJSON{{"consumers", QVCJSON::object()}});
    manager->signUpNewUserWithDetails(info, nullptr);
    deliver();
    EXPECT_EQ(texts(manager->consumerID(), std::to_string(info->consumerID)), texts("(null)", "0"));
}

TEST_P(ConsumerOperationsTest, BalanceWithoutStatusOrWithoutList) {
    handler->answerWithBody(QVCJSON{{"consumerRs", {{{"loyaltyPoints", "75"}}}}});
    retrieveBalance();
    EXPECT_EQ(texts(std::to_string(points), description, loyaltySeen), texts("75", "", "75"));
    handler->answerWithBody(QVCJSON{{"consumerRs", {{{"loyaltyConsumerStatusResponse", {QVCJSON::object()}}}}}});
    retrieveBalance();
    EXPECT_EQ(texts(description, loyaltySeen), texts(std::nullopt, "(null)"));
    manager->setLoyalty("42");
    handler->answerWith(QVCResponse(QVCJSON{{"consumerRs", QVCJSON::object()}}, {}, answerError));
    retrieveBalance();
    EXPECT_TRUE(points == 0 && !description && balanceError == answerError && manager->loyalty() == "42");
}

TEST_P(ConsumerOperationsTest, ExceptionsWhileAnAnswerIsReadReachTheCallerOnlyInsideTheRequest) {
    handler->answerWithBody(QVCJSON{{"consumers", QVCJSON::array()}});
    ConsumerResult consumer;
    manager->authenticateConsumerWithUserName("jdoe", consumer.completion());
    expectAnswerException(consumer, "cannot take element 0 of consumers: it holds 0 elements");
    handler->answerWithBody(QVCJSON{{"consumerRs", {{{"loyaltyPoints", nullptr}}}}});  // not filtered
    Record<QVConsumerManager::LoyaltyCompletion> balance;                              // where it ends up is as above
    manager->retrieveLoyaltyInfo(balance.completion());
    EXPECT_EQ(messageOf([this] { deliver(); }) + exceptionMessage(balance.exception()),
              "consumerRs[0].loyaltyPoints is null and has no integer value");
}

}  // namespace
