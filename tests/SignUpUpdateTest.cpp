#include <gtest/gtest.h>

#include "ConsumerTestSupport.h"
#include "TestSupport.h"

namespace {

class SignUpUpdateTest : public ManagerTest {
protected:
    std::shared_ptr<QVCConsumerInfo> info = [] {
        auto info = std::make_shared<QVCConsumerInfo>();
        info->firstName = "Jane";
        info->lastName = "Doe";
        info->middleName = "";
        info->suffix = "";
        return info;
    }();
};
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(SignUpUpdateTest);

TEST_P(SignUpUpdateTest, SignUpThenUpdateHandBackTheCallersRecordWithTheNewId) {
    handler->answerWithBody(QVCJSON{{"consumers", {{"consumerId", 5678}}}});
    handler->answerWithBody(QVCJSON{{"consumers", {{"consumerId", "5679"}}}});
    ConsumerResult signedUp, updated;
    manager->signUpNewUserWithDetails(info, signedUp.completion());
    deliver();
    EXPECT_EQ(signedUp.consumer, info);
    EXPECT_EQ(info->consumerID, 5678);
    EXPECT_EQ(manager->consumerID(), "5678");
    manager->updateConsumerProfile(info, updated.completion());
    deliver();
    EXPECT_EQ(updated.calls, 1);
    EXPECT_EQ(updated.consumer, info);
    EXPECT_FALSE(updated.error || updated.exception);
    EXPECT_EQ(info->consumerID, 5679);

    const auto requests = handler->requests();
    ASSERT_EQ(requests.size(), 2u);
    for (const auto& request : requests) {
        EXPECT_EQ(request.path, "lqsapi/consumers/v1/consumer");
        EXPECT_EQ(request.httpMethod, 1);
        EXPECT_EQ(request.contextMessageType, "consumers");
        EXPECT_EQ(request.responseType, 0);
        EXPECT_FALSE(request.headers);
    }
    EXPECT_EQ(requests[0].body, manager->signUpDocument(std::make_shared<QVCConsumerInfo>(*info)));
    // The update carries the id that the sign-up made current.
    EXPECT_EQ(requests[1].body->at("consumerRq").at("consumers").at("consumerId"), "5678");
}

TEST_P(SignUpUpdateTest, AMissingIdInTheAnswerBecomesNullTextAndZero) {
    info->consumerID = 9;
    handler->answerWithBody(QVCJSON{{"consumers", QVCJSON::object()}});
    ConsumerResult result;
    manager->signUpNewUserWithDetails(info, result.completion());
    deliver();
    EXPECT_EQ(manager->consumerID(), "(null)");
    EXPECT_EQ(result.consumer, info);
    EXPECT_EQ(info->consumerID, 0);
}

TEST_P(SignUpUpdateTest, ARefusedIdDropsThePlatformsErrorForTheAnswers) {
    manager->setConsumerIDValidator(
        [](const std::optional<std::string>&) { return QVCErrorResponse::initWithErrorMessages({"refused"}); });
    auto answerError = QVCErrorResponse::initWithErrorMessages({"answer"});
    handler->answerWith(QVCResponse(QVCJSON{{"consumers", {{"consumerId", 77}}}}, {}, answerError));
    info->consumerID = 3;
    ConsumerResult result;
    manager->updateConsumerProfile(info, result.completion());
    deliver();
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.consumer || result.exception);
    EXPECT_EQ(result.error, answerError);
    EXPECT_EQ(info->consumerID, 3);
    EXPECT_EQ(manager->consumerID(), "1234");
}

TEST_P(SignUpUpdateTest, AnAnswerWithoutAConsumerObjectReportsItsError) {
    auto answerError = QVCErrorResponse::initWithErrorMessages({"bad"});
    handler->answerWith(QVCResponse(QVCJSON{{"consumers", {1, 2}}}, {}, answerError));
    ConsumerResult result;
    manager->signUpNewUserWithDetails(info, result.completion());
    deliver();
    EXPECT_EQ(result.error, answerError);
    EXPECT_FALSE(result.consumer);
}

TEST_P(SignUpUpdateTest, AnUnwritableRecordIsReportedWithoutRequest) {
    info->personalInfo->contactInfo = nullptr;
    ConsumerResult signUp, update;
    manager->signUpNewUserWithDetails(info, signUp.completion());
    manager->updateConsumerProfile(nullptr, update.completion());
    deliver();
    EXPECT_EQ(handler->requestCount(), 0u);
    EXPECT_EQ(signUp.calls + update.calls, 2);
    EXPECT_FALSE(signUp.consumer || signUp.error);
    EXPECT_EQ(qvcMessage(signUp.exception), "cannot build the consumer document: personalInfo.contactInfo is absent");
    EXPECT_EQ(qvcMessage(update.exception), "cannot build the consumer document: the consumer record is absent");
}

TEST_P(SignUpUpdateTest, TheManagerKeepsTheIdTextAndTheRecordItsLeadingNumber) {
    handler->answerWithBody(QVCJSON{{"consumers", {{"consumerId", "0042x"}}}});
    ConsumerResult result;
    manager->signUpNewUserWithDetails(info, result.completion());
    deliver();
    EXPECT_EQ(result.calls, 1);
    EXPECT_EQ(manager->consumerID(), "0042x");
    EXPECT_EQ(info->consumerID, 42);
}

}  // namespace
