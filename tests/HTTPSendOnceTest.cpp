// A send that may have reached the service is never sent twice, even when the
// connection it would have used dies under it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>

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

struct Send {
    const char* name;
    const char* path;
    /// Starts the send; its completion reports the error record it received.
    std::function<void(QVConsumerManager&, std::function<void(QVConsumerManager::Error)>)> start;
};

TEST(HTTPSendOnce, ASendWhoseConnectionDiesArrivesOnceAndReportsAnUnknownOutcome) {
    using Error = QVConsumerManager::Error;
    const std::vector<Send> sends = {
        {"redemption", "/lqsapi/consumers/v1/consumers/1001/offers/9/redeems",
         [](QVConsumerManager& manager, auto report) {
             manager.redeemOfferWithAmount("5", "SAVE10", "R-1", [report](auto, Error error, auto) { report(error); });
         }},
        {"sign-up", "/lqsapi/consumers/v1/consumer",
         [](QVConsumerManager& manager, auto report) {
             manager.signUpNewUserWithDetails(formConsumer(), [report](auto, Error error, auto) { report(error); });
         }},
        {"update", "/lqsapi/consumers/v1/consumer",
         [](QVConsumerManager& manager, auto report) {
             auto consumer = formConsumer();
             consumer->personalInfo->consumerName = "jane";
             manager.updateConsumerProfile(consumer, [report](auto, Error error, auto) { report(error); });
         }},
        {"push registration", "/lqsapi/consumers/v1/consumer/1001/device",
         [](QVConsumerManager& manager, auto report) {
             manager.setPushDeviceToken("token", [report](bool, Error error, auto) { report(error); });
         }},
    };
    for (const auto& send : sends) {
        ClosingServer server(answerFor);
        auto manager = QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), "1001",
                                                        QVCEnvironmentLive, nullptr);
        ASSERT_TRUE(manager);
        QVCPlatformConfiguration configuration;
        configuration.serviceRootURL = server.root();
        configuration.totalTimeoutMs = 5000;
        manager->setPlatformConfiguration(configuration);

        // A read first, so that a kept-alive connection waits in the pool.
        std::promise<void> read;
        manager->retrieveLoyaltyInfo([&](auto, auto, auto, auto) { read.set_value(); });
        ASSERT_EQ(read.get_future().wait_for(10s), std::future_status::ready) << send.name;

        std::atomic<int> calls{0};
        std::promise<Error> answered;
        send.start(*manager, [&](Error error) {
            if (calls++ == 0) {
                answered.set_value(error);
            }
        });
        auto answer = answered.get_future();
        ASSERT_EQ(answer.wait_for(10s), std::future_status::ready) << send.name;
        std::this_thread::sleep_for(100ms);  // a second send or completion would show now
        EXPECT_EQ(server.posts(), std::vector<std::string>{send.path}) << send.name;
        EXPECT_EQ(calls, 1) << send.name;
        const Error error = answer.get();
        ASSERT_TRUE(error) << send.name;
        EXPECT_EQ(error->kind(), QVCErrorResponse::Kind::OutcomeUnknown) << send.name << ": " << error->description();
        EXPECT_THAT(error->description(), HasSubstr("check before sending it again"));
    }
}

}  // namespace
