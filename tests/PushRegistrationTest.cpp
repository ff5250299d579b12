#include "TestSupport.h"

namespace {

using PushResult = Record<QVConsumerManager::PushCompletion>;

using PushRegistrationTest = ManagerTest;
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(PushRegistrationTest);

TEST_P(PushRegistrationTest, SendsTheTokenAsItStandsAndAnyAnswerWithoutErrorIsSuccess) {
    manager->setConsumerID("42", nullptr);
    auto serviceError = QVCErrorResponse::initWithErrorMessages({"device rejected"});
    handler->answerWith(QVCResponse(QVCJSON::array({1, 2}), {}, nullptr));
    handler->answerWith(QVCResponse(QVCJSON{{"consumerRs", 1}}, {}, serviceError));
    handler->answerWithBody(QVCJSON::object());
    PushResult accepted, rejected;
    manager->setPushDeviceToken("tok-1", accepted.completion());
    manager->setPushDeviceToken("tok-2", rejected.completion());
    manager->setPushDeviceToken(QVCJSON(123456), nullptr);  // an empty completion is allowed
    deliver();

    const auto requests = handler->requests();
    ASSERT_EQ(requests.size(), 3U);
    const auto& request = requests[0];
    EXPECT_EQ(request.path + " " + std::to_string(request.httpMethod) + " " + request.contextMessageType,
              "lqsapi/consumers/v1/consumer/42/device 1 consumers");
    EXPECT_TRUE(!request.headers && request.responseType == 0 && request.simulateFilePath == manager->simulatePath());
    EXPECT_EQ(*request.body, (QVCJSON{{"deviceToken", "tok-1"}, {"deviceType", "iOS"}, {"en_Push", 1}}));
    EXPECT_TRUE(request.body->at("en_Push").is_number_integer());
    EXPECT_EQ(requests[2].body->at("deviceToken"), QVCJSON(123456));
    EXPECT_EQ(manager->pushDeviceToken(), QVCJSON(123456));
    EXPECT_TRUE(accepted.calls == 1 && accepted.get<0>() && !accepted.error() && !accepted.exception());
    EXPECT_TRUE(rejected.calls == 1 && !rejected.get<0>() && rejected.error() == serviceError);
}

TEST_P(PushRegistrationTest, AnAbsentTokenIsReportedAsAnExceptionWithoutRequest) {
    manager->setPushDeviceToken("old", nullptr);
    PushResult result;
    manager->setPushDeviceToken(std::nullopt, result.completion());
    deliver();

    EXPECT_EQ(handler->requestCount(), 1U);
    EXPECT_TRUE(result.calls == 1 && !result.get<0>() && !result.error());
    EXPECT_EQ(exceptionMessage(result.exception()), "attempt to insert an absent value for key \"deviceToken\"");
    // The platform was handed the absent token before the body failed.
    EXPECT_FALSE(manager->pushDeviceToken());
}

}  // namespace
