// The future and blocking forms over the live transport, against an
// in-process HTTP server: a refused id, a non-JSON answer, a reader that
// raises on the transport's thread, a manager destroyed mid-call and a wait
// on the transport's thread all end at once.

#include <httplib.h>

#include <chrono>
#include <thread>

#include "OffersTestSupport.h"
#include "QVConsumer/QVConsumerCalls.h"
#include "platform/QVCPlatformConfiguration.h"

namespace {

using namespace std::chrono_literals;

class CallStylesLive : public ::testing::Test {
protected:
    CallStylesLive() {
        const std::string offers = "/lqsapi/consumers/v1/consumers/1234/offers";
        server.Get(offers + "/text", [](const httplib::Request&, httplib::Response& response) {
            response.set_content("not JSON at all", "text/plain");
        });
        server.Get(offers + "/slow", [this](const httplib::Request&, httplib::Response& response) {
            std::unique_lock<std::mutex> lock(mutex);
            released.wait_for(lock, 5s, [this] { return release; });
            response.set_content("{}", "application/json");
        });
        server.Get(offers, [](const httplib::Request& request, httplib::Response& response) {
            const bool byCode = request.has_param("offerCode");
            response.set_content(byCode ? QVCJSON::array({offerEntry("c-1", "SAVE")}).dump() : "[7]",
                                 "application/json");
        });
        const int port = server.bind_to_any_port("127.0.0.1");
        thread = std::thread([this] { server.listen_after_bind(); });
        for (int i = 0; i < 200 && !server.is_running(); ++i) {
            std::this_thread::sleep_for(5ms);
        }
        QVCPlatformConfiguration configuration;
        configuration.serviceRootURL = "http://127.0.0.1:" + std::to_string(port);
        configuration.totalTimeoutMs = 10000;
        configuration.maxRetries = 0;
        manager = QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), "1234",
                                                   QVCEnvironmentLive, nullptr);
        manager->setPlatformConfiguration(configuration);
    }
    ~CallStylesLive() override {
        letSlowAnswer();
        manager.reset();
        server.stop();
        thread.join();
    }

    void letSlowAnswer() {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
        released.notify_all();
    }

    httplib::Server server;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable released;
    bool release = false;
    std::shared_ptr<QVConsumerManager> manager;
};

TEST_F(CallStylesLive, SilentAnswersEndAtOnceNamingWhatHappened) {
    QVConsumerCalls calls(manager);
    const auto refused = calls.getOfferDetailsWithOfferID(QVCJSON("a/b"), 60s);
    EXPECT_EQ(refused.ending(), QVCCallEnding::NoAnswer);
    EXPECT_THAT(onlyMessage(refused.error()),
                HasSubstr("getOfferDetailsWithOfferID: the operation ended without an answer (GET "));
    const auto text = calls.getOfferDetailsWithOfferID(QVCJSON("text"), 60s);
    EXPECT_EQ(text.ending(), QVCCallEnding::NoAnswer);
    EXPECT_THAT(onlyMessage(text.error()), HasSubstr("answer is not JSON"));
    // The offer is found and posted to a path the server does not serve: the service's error, completed.
    const auto redeemed = calls.redeemOfferWithAmount(QVCJSON(5), "SAVE", QVCJSON("R"), 60s);
    EXPECT_EQ(redeemed.ending(), QVCCallEnding::Completed);
    EXPECT_EQ(redeemed.error()->httpStatus(), 404);
}

TEST_F(CallStylesLive, AReaderThatRaisesOnTheTransportThreadEndsTheCallAndStillReachesTheHook) {
    std::mutex seen;
    std::vector<std::string> hooked;
    manager->setAnswerExceptionHook([&](std::exception_ptr exception) {
        std::lock_guard<std::mutex> lock(seen);
        hooked.push_back(exceptionMessage(exception));
    });
    const auto offers = QVConsumerCalls(manager).getAllOffersWithCompletionHandler(60s);
    EXPECT_EQ(offers.ending(), QVCCallEnding::NoAnswer);
    const std::string message = exceptionMessage(offers.exception());
    EXPECT_THAT(message, HasSubstr("it is a number, not an object"));
    std::lock_guard<std::mutex> lock(seen);
    EXPECT_EQ(hooked, std::vector<std::string>{message});
}

TEST_F(CallStylesLive, ADestroyedManagerEndsItsCalls) {
    auto pending = QVConsumerCalls(manager).getOfferDetailsWithOfferID(QVCJSON("slow"));
    manager.reset();
    letSlowAnswer();
    const auto result = pending.get(10s);
    ASSERT_NE(result.ending(), QVCCallEnding::TimedOut);
    EXPECT_FALSE(result.value());
    EXPECT_TRUE(result.error());
}

TEST_F(CallStylesLive, WaitingOnTheTransportThreadEndsAtOnce) {
    QVConsumerCalls calls(manager);
    std::promise<QVConsumerCalls::OfferResult> inner;
    manager->getOfferWithOfferCode(
        "SAVE", [&](auto, auto, auto) { inner.set_value(calls.getOfferWithOfferCode("SAVE", 30s)); });
    auto future = inner.get_future();
    ASSERT_EQ(future.wait_for(60s), std::future_status::ready);
    EXPECT_EQ(future.get().ending(), QVCCallEnding::OnDeliveryThread);
    // Off that thread the same call completes.
    EXPECT_EQ(calls.getOfferWithOfferCode("SAVE", 60s).value()->consumerOfferId, "c-1");
}

}  // namespace
