#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <future>
#include <set>
#include <string>
#include <thread>

#include "TransportTestSupport.h"
#include "platform/QVCDeliveryScope.h"
#include "platform/QVCHTTPWebServiceHandler.h"

using namespace std::chrono_literals;
using ::testing::HasSubstr;

namespace {

/// The offer whose id is a delay in milliseconds: the server answers it
/// with {"waited": id} after that long.
std::string delayed(int ms) {
    return "lqsapi/consumers/v1/consumers/1/offers/" + std::to_string(ms);
}

int waitedOf(const QVCResponse& response) {
    auto body = response.bodyJSON();
    return body && body->contains("waited") ? (*body)["waited"].get<int>() : -1;
}

/// Many handlers of one process against one loopback server.
class SharedEngine : public ::testing::Test {
protected:
    SharedEngine() {
        server.Get(R"(/lqsapi/consumers/v1/consumers/1/offers/(\d+))",
                   [](const httplib::Request& request, httplib::Response& response) {
                       const int ms = std::stoi(request.matches[1]);
                       std::this_thread::sleep_for(std::chrono::milliseconds(ms));
                       response.set_content("{\"waited\":" + std::to_string(ms) + "}", "application/json");
                   });
        server.new_task_queue = [] { return new httplib::ThreadPool(32); };
        configuration.serviceRootURL = "http://127.0.0.1:" + std::to_string(server.bind_to_any_port("127.0.0.1"));
        thread_ = std::thread([this] { server.listen_after_bind(); });
        for (int i = 0; i < 200 && !server.is_running(); ++i) {
            std::this_thread::sleep_for(5ms);
        }
    }
    ~SharedEngine() override {
        server.stop();
        thread_.join();
    }

    std::unique_ptr<QVCHTTPWebServiceHandler> handler() {
        return std::make_unique<QVCHTTPWebServiceHandler>(configuration, "app-7", "secret-key-42");
    }

    httplib::Server server;
    QVCPlatformConfiguration configuration;

private:
    std::thread thread_;
};

TEST_F(SharedEngine, ManyHandlersAreAnsweredOnOneThreadInsideADeliveryScope) {
    constexpr int handlers = 40, each = 3;
    std::vector<AnswerCollector> collectors(handlers);
    std::atomic<int> outsideScope{0};
    std::vector<std::unique_ptr<QVCHTTPWebServiceHandler>> transports;
    for (int h = 0; h < handlers; ++h) {
        transports.push_back(handler());
    }
    for (int h = 0; h < handlers; ++h) {
        for (int i = 0; i < each; ++i) {
            sendGet(*transports[h], delayed(i), std::nullopt,
                    [&, done = collectors[h].completion()](const QVCResponse& response) {
                        outsideScope += QVCDeliveryScope::active() ? 0 : 1;
                        done(response);
                    });
        }
    }
    std::set<std::thread::id> threads;
    for (auto& collector : collectors) {
        ASSERT_TRUE(collector.waitFor(each));
        for (const auto& answer : collector.answers()) {
            EXPECT_EQ(answer.error(), nullptr) << describe(answer);
        }
        for (auto id : collector.threads()) {
            threads.insert(id);
        }
    }
    EXPECT_EQ(threads.size(), 1u) << "one engine, one thread, for every handler";
    EXPECT_EQ(outsideScope, 0);
}

TEST_F(SharedEngine, DestroyingOneHandlerCancelsOnlyItsOwnRequests) {
    auto doomed = handler();
    auto kept = handler();
    AnswerCollector cancelled, answered;
    for (int i = 0; i < 3; ++i) {
        sendGet(*doomed, delayed(400), std::nullopt, cancelled.completion());
        sendGet(*kept, delayed(400), std::nullopt, answered.completion());
    }
    std::this_thread::sleep_for(100ms);
    doomed.reset();
    ASSERT_EQ(cancelled.answers().size(), 3u) << "the destructor returns after its cancelled answers";
    for (const auto& answer : cancelled.answers()) {
        EXPECT_EQ(kindOf(answer), QVCErrorResponse::Kind::Cancelled);
        EXPECT_THAT(describe(answer), HasSubstr("GET " + delayed(400) + ": cancelled"));
    }
    ASSERT_TRUE(answered.waitFor(3));
    for (const auto& answer : answered.answers()) {
        EXPECT_EQ(waitedOf(answer), 400) << describe(answer);
    }
}

TEST_F(SharedEngine, EachHandlersAnswersComeOneAtATimeInCompletionOrderWithSeveralDeliveryThreads) {
    configuration.deliveryThreads = 3;
    configuration.maxConnections = 32;  // every request in flight at once, so completion order is the delays
    constexpr int handlers = 4;
    std::vector<AnswerCollector> collectors(handlers);
    std::vector<std::atomic<int>> inside(handlers);
    std::atomic<int> overlaps{0};
    // Declared last, so destroyed first: their destructors wait for callbacks that use the above.
    std::vector<std::unique_ptr<QVCHTTPWebServiceHandler>> transports;
    for (int h = 0; h < handlers; ++h) {
        transports.push_back(handler());
        // Asked slowest first: the answers complete, and must come, fastest first.
        for (int ms : {600, 0}) {
            sendGet(*transports[h], delayed(ms), std::nullopt,
                    [&, h, done = collectors[h].completion()](const QVCResponse& response) {
                        overlaps += inside[h]++ == 0 ? 0 : 1;
                        std::this_thread::sleep_for(20ms);  // long enough for an overlap to show
                        --inside[h];
                        done(response);
                    });
        }
    }
    std::set<std::thread::id> threads;
    for (auto& collector : collectors) {
        ASSERT_TRUE(collector.waitFor(2));
        std::vector<int> order;
        for (const auto& answer : collector.answers()) {
            order.push_back(waitedOf(answer));
        }
        EXPECT_EQ(order, (std::vector<int>{0, 600}));
        for (auto id : collector.threads()) {
            threads.insert(id);
        }
    }
    EXPECT_EQ(overlaps, 0) << "one handler's answers never run at the same time";
    EXPECT_GT(threads.size(), 1u) << "the handlers' answers were spread over the delivery threads";
}

TEST_F(SharedEngine, AHandlerDestroyedInsideAnotherOnesAnswerLeavesTheEngineServing) {
    auto first = handler();
    auto second = handler();
    std::promise<void> destroyed;
    sendGet(*first, delayed(0), std::nullopt, [&](const QVCResponse&) {
        second.reset();  // on the engine's own thread: must neither wait for itself nor stop the engine
        destroyed.set_value();
    });
    ASSERT_EQ(destroyed.get_future().wait_for(10s), std::future_status::ready);
    AnswerCollector after;
    sendGet(*first, delayed(0), std::nullopt, after.completion());
    EXPECT_EQ(waitedOf(after.single()), 0);
}

}  // namespace
