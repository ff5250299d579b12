#include <gtest/gtest.h>

#include "TestSupport.h"

namespace {

using PushResult = Record<QVConsumerManager::PushCompletion>;

using PushRegistrationTest = ManagerTest;
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(PushRegistrationTest);

TEST_P(PushRegistrationTest, SendsTheTokenForTheCurrentConsumer) {
    manager->setConsumerID("42", nullptr);
    handler->answerWithBody(QVCJSON::object());
    PushResult result;
    manager->setPushDeviceToken("tok-1", result.completion());
    deliver();

    const auto request = handler->lastRequest();
    EXPECT_EQ(request.path, "lqsapi/consumers/v1/consumer/42/device");
    EXPECT_EQ(request.httpMethod, 1);
    EXPECT_EQ(request.contextMessageType, "consumers");
    EXPECT_FALSE(request.headers);
    EXPECT_EQ(request.responseType, 0);
    EXPECT_EQ(request.simulateFilePath, manager->simulatePath());
    ASSERT_TRUE(request.body);
    EXPECT_EQ(*request.body, (QVCJSON{{"deviceToken", "tok-1"}, {"deviceType", "iOS"}, {"en_Push", 1}}));
    EXPECT_TRUE(request.body->at("en_Push").is_number_integer());
    EXPECT_EQ(manager->pushDeviceToken(), QVCJSON("tok-1"));

    EXPECT_EQ(result.calls, 1);
    EXPECT_TRUE(result.get<0>());
    EXPECT_FALSE(result.error());
    EXPECT_FALSE(result.exception());
}

TEST_P(PushRegistrationTest, KeepsANumericTokenANumber) {
    handler->answerWithBody(QVCJSON::object());
    PushResult result;
    manager->setPushDeviceToken(QVCJSON(123456), result.completion());
    deliver();
    EXPECT_EQ(handler->lastRequest().body->at("deviceToken"), QVCJSON(123456));
    EXPECT_TRUE(result.get<0>());
}

TEST_P(PushRegistrationTest, AnyAnswerWithoutErrorIsSuccessWhateverItsBody) {
    handler->answerWith(QVCResponse(QVCJSON::array({1, 2}), {}, nullptr));
    handler->answerWith(QVCResponse(std::nullopt, {}, nullptr));
    PushResult first;
    PushResult second;
    manager->setPushDeviceToken("t", first.completion());
    manager->setPushDeviceToken("t", second.completion());
    deliver();
    EXPECT_TRUE(first.get<0>());
    EXPECT_TRUE(second.get<0>());
    EXPECT_EQ(first.calls + second.calls, 2);
}

TEST_P(PushRegistrationTest, ReportsTheServiceErrorUnchanged) {
    auto serviceError = QVCErrorResponse::initWithErrorMessages({"device rejected"});
    handler->answerWith(QVCResponse(QVCJSON{{"consumerRs", 1}}, {}, serviceError));
    PushResult result;
    manager->setPushDeviceToken("t", result.completion());
    deliver();
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.get<0>());
    EXPECT_EQ(result.error(), serviceError);
    EXPECT_FALSE(result.exception());
}

TEST_P(PushRegistrationTest, AnAbsentTokenIsReportedAsAnExceptionWithoutRequest) {
    PushResult earlier;
    manager->setPushDeviceToken("old", earlier.completion());
    deliver();
    const auto sentBefore = handler->requestCount();

    PushResult result;
    manager->setPushDeviceToken(std::nullopt, result.completion());
    deliver();

    EXPECT_EQ(handler->requestCount(), sentBefore);
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.get<0>());
    EXPECT_FALSE(result.error());
    EXPECT_EQ(exceptionMessage(result.exception()), "attempt to insert an absent value for key \"deviceToken\"");
    // The platform was handed the absent token before the body failed.
    EXPECT_FALSE(manager->pushDeviceToken());
}

TEST_P(PushRegistrationTest, AnAbsentConsumerIdIsWrittenAsNullText) {
    auto anonymous = makeManager(handler, std::nullopt);
    handler->answerWithBody(QVCJSON::object());
    anonymous->setPushDeviceToken("t", nullptr);
    deliver();
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumer/(null)/device");
}

TEST_P(PushRegistrationTest, AnEmptyCompletionIsAllowed) {
    handler->answerWithBody(QVCJSON::object());
    EXPECT_NO_THROW(manager->setPushDeviceToken("t", nullptr));
    EXPECT_NO_THROW(manager->setPushDeviceToken(std::nullopt, nullptr));
    EXPECT_NO_THROW(deliver());
}

}  // namespace
