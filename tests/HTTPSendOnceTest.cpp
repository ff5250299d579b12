// A send that may have reached the service is never sent twice, even when the
// connection it would have used dies under it.

#include <chrono>
#include <thread>

#include "ClosingServer.h"
#include "ConsumerTestSupport.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "platform/QVCEnvironment.h"

namespace {

using namespace std::chrono_literals;

/// The answers of the GETs that come before the sends: an offer for the
/// redemption's lookup, a loyalty balance for everything else.
std::string answerFor(const std::string& path) {
    if (path.find("offerCode=") != std::string::npos) {
        return R"([{"consumerOfferId": "9", "offerCode": "SAVE10", "offer": {}}])";
    }
    return R"({"consumerRs": [{"loyaltyPoints": "5", "loyaltyConsumerStatusResponse": []}]})";
}

using M = QVConsumerManager;

/// Reads once, so that a kept-alive connection waits in the pool, then starts
/// the send whose POST the server reads and answers by closing that connection.
template <typename Completion, typename Start>
void expectSentOnceWithUnknownOutcome(const std::string& path, const Start& start) {
    SCOPED_TRACE(path);
    ClosingServer server(answerFor);
    Record<Completion> sent;  // outlives the manager and any late call
    auto manager = QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), "1001",
                                                    QVCEnvironmentLive, nullptr);
    ASSERT_TRUE(manager);
    QVCPlatformConfiguration configuration;
    configuration.serviceRootURL = server.root();
    configuration.totalTimeoutMs = 5000;
    manager->setPlatformConfiguration(configuration);
    awaitCall<M::LoyaltyCompletion>([&](auto done) { manager->retrieveLoyaltyInfo(done); });
    start(*manager, sent.completion());
    sent.wait();
    std::this_thread::sleep_for(100ms);  // a second send or completion would show now
    EXPECT_EQ(server.posts(), std::vector<std::string>{path});
    EXPECT_EQ(sent.calls, 1);
    ASSERT_TRUE(sent.error());
    EXPECT_EQ(sent.error()->kind(), QVCErrorResponse::Kind::OutcomeUnknown) << sent.error()->description();
    EXPECT_THAT(sent.error()->description(), HasSubstr("check before sending it again"));
}

TEST(HTTPSendOnce, ASendWhoseConnectionDiesArrivesOnceAndReportsAnUnknownOutcome) {
    expectSentOnceWithUnknownOutcome<M::RedemptionCompletion>(
        "/lqsapi/consumers/v1/consumers/1001/offers/9/redeems",
        [](M& manager, auto done) { manager.redeemOfferWithAmount("5", "SAVE10", "R-1", done); });
    expectSentOnceWithUnknownOutcome<M::ConsumerCompletion>("/lqsapi/consumers/v1/consumer", [](M& manager, auto done) {
        manager.signUpNewUserWithDetails(formConsumer(), done);
    });
    expectSentOnceWithUnknownOutcome<M::ConsumerCompletion>("/lqsapi/consumers/v1/consumer", [](M& manager, auto done) {
        auto consumer = formConsumer();
        consumer->personalInfo->consumerName = "jane";
        manager.updateConsumerProfile(consumer, done);
    });
    expectSentOnceWithUnknownOutcome<M::PushCompletion>(
        "/lqsapi/consumers/v1/consumer/1001/device",
        [](M& manager, auto done) { manager.setPushDeviceToken("token", done); });
}

}  // namespace
