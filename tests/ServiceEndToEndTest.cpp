// The library over the live transport against the reference service, in-process on a free port.
#include <httplib.h>

#include <array>
#include <set>
#include <thread>

#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCProduct.h"
#include "ServiceTestSupport.h"

namespace {

using Kind = QVCErrorResponse::Kind;
using namespace std::chrono_literals;

using M = QVConsumerManager;

class ServiceEndToEnd : public ServiceTest {
protected:
    ServiceEndToEnd() { manager = managerWith(appKey); }

    std::shared_ptr<M> managerWith(const std::string& key, long attemptLimitMs = 500) {
        auto company = std::make_shared<QVCCompanyInfo>();
        company->companyID = 42;
        auto made = M::initWithAppID(appID, key, company, std::nullopt, QVCEnvironmentLive, nullptr);
        QVCPlatformConfiguration configuration;
        configuration.serviceRootURL = service->url();
        configuration.totalTimeoutMs = attemptLimitMs;
        configuration.retryBaseDelayMs = 1;
        configuration.retryMaxDelayMs = 1000;  // room in the budget for a Retry-After of 1 s
        made->setPlatformConfiguration(configuration);
        return made;
    }

    /// Stops the service and starts it again on the database file, with a new manager.
    void restartOn(const std::string& database) {
        manager.reset();
        startService(database);
        manager = managerWith(appKey);
    }

    int received(const std::string& path) { return state()["requestCounts"].value(path, 0); }
    std::size_t redemptions() { return state()["redemptions"].size(); }
    /// The redemptions once expected are there, or after a bound: a send the client gave up on may still be served.
    std::size_t redemptionsSettled(std::size_t expected) {
        for (int i = 0; i < 100 && redemptions() != expected; ++i) {
            std::this_thread::sleep_for(10ms);
        }
        return redemptions();
    }

    std::shared_ptr<QVCConsumerInfo> authenticate(const std::string& userName) {
        return std::get<0>(awaitCall<M::ConsumerCompletion>(
            [&](auto done) { manager->authenticateConsumerWithUserName(userName, done); }));
    }
    auto loyalty() {
        return awaitCall<M::LoyaltyCompletion>([&](auto done) { manager->retrieveLoyaltyInfo(done); });
    }
    /// Signs up "newbie": the record sent, or null when refused (error then says why).
    std::shared_ptr<QVCConsumerInfo> signUpNewbie(M::Error* error = nullptr) {
        auto info = std::make_shared<QVCConsumerInfo>();
        info->personalInfo->consumerName = "newbie";
        info->firstName = "Nina";
        info->lastName = "Newman";
        info->middleName = info->suffix = "";  // an update sends them unfiltered: absent ones would raise
        info->personalInfo->contactInfo->emailInfo->address = "nina@example.com";
        info->preference->preferSmsFlag = true;
        auto [signedUp, signUpError, exception] =
            awaitCall<M::ConsumerCompletion>([&](auto done) { manager->signUpNewUserWithDetails(info, done); });
        if (error) {
            *error = signUpError;
        }
        return signedUp ? info : nullptr;
    }
    std::tuple<std::optional<std::string>, M::Error, std::exception_ptr> redeem(const std::string& code,
                                                                                const std::string& reference) {
        return awaitCall<M::RedemptionCompletion>(
            [&](auto done) { manager->redeemOfferWithAmount(QVCJSON("57.00"), code, QVCJSON(reference), done); });
    }

    std::shared_ptr<M> manager;  // let go before the service stops
};

TEST_F(ServiceEndToEnd, EveryOperationIsServedOverHTTP) {
    const auto master = std::get<0>(awaitCall<M::MasterDataCompletion>(
        [&](auto done) { manager->getMasterDataWithCompletionWithCompletion(done); }));
    EXPECT_EQ(master ? master->ageRangeTypes.size() : 0u, 6u);

    const auto consumer = authenticate("jdoe");
    ASSERT_TRUE(consumer);
    EXPECT_EQ(consumer->firstName, "John");
    EXPECT_EQ(manager->consumerID(), "1001");

    const auto [points, status, loyaltyError, loyaltyException] = loyalty();
    EXPECT_EQ(points, 1250);
    EXPECT_EQ(status, "Gold");

    const auto offers = std::get<0>(
        awaitCall<M::OffersCompletion>([&](auto done) { manager->getAllOffersWithCompletionHandler(done); }));
    EXPECT_EQ(offers ? offers->size() : 0u, 9u);

    Record<M::OfferCompletion> byID, byCode, unknownCode;
    manager->getOfferDetailsWithOfferID(QVCJSON("502"), byID.completion());
    manager->getOfferWithOfferCode(" GOLD 20 ", byCode.completion());
    manager->getOfferWithOfferCode("save10", unknownCode.completion());
    EXPECT_EQ(std::get<0>(byID.wait())->offerCode, "FIVEOFF25");
    EXPECT_EQ(std::get<0>(byCode.wait())->consumerOfferId, "9003");
    EXPECT_EQ(std::get<1>(unknownCode.wait())->errorMessages().at(0), "This offer is not valid any more");

    auto product = std::make_shared<QVCProduct>();
    product->productId = 301;
    product->quantity = 2;
    product->price = "24.50";
    EXPECT_TRUE(std::get<0>(awaitCall<M::ValidationCompletion>(
        [&](auto done) { manager->validateOfferWithOfferCode("SAVE10", M::Products{product}, done); })));

    EXPECT_EQ(std::get<0>(redeem("GOLD20", "POS-1")), "lqsapi/consumers/v1/redemptions/70001");
    EXPECT_EQ(std::get<0>(loyalty()), 1250 - 500) << "the offer's points are deducted";

    EXPECT_TRUE(std::get<0>(awaitCall<M::PushCompletion>(
        [&](auto done) { manager->setPushDeviceToken(QVCJSON("device-token-1"), done); })));
    EXPECT_EQ(state()["deviceTokens"][0]["deviceToken"], "device-token-1");
}

TEST_F(ServiceEndToEnd, SignUpThenAuthenticateReturnsWhatWasStoredAndUpdateRewritesIt) {
    M::Error signUpError;
    const auto info = signUpNewbie(&signUpError);
    ASSERT_TRUE(info) << signUpError->description();
    EXPECT_EQ(info->consumerID, 1003);

    auto stored = authenticate("newbie");
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->consumerID, 1003);
    EXPECT_EQ(stored->lastName, "Newman");
    EXPECT_EQ(stored->personalInfo->contactInfo->emailInfo->address, "nina@example.com");
    EXPECT_EQ(stored->personalInfo->contactInfo->addressInfo->city, "San Francisco");
    EXPECT_TRUE(stored->preference->preferSmsFlag);
    EXPECT_TRUE(stored->activeAccount);

    stored->personalInfo->contactInfo->addressInfo->city = "Tucson";
    stored->consumerGroupCodes = std::vector<QVCJSON>{QVCJSON("3")};  // a read record carries none
    ASSERT_TRUE(std::get<0>(
        awaitCall<M::ConsumerCompletion>([&](auto done) { manager->updateConsumerProfile(stored, done); })));
    EXPECT_EQ(authenticate("newbie")->personalInfo->contactInfo->addressInfo->city, "Tucson");

    M::Error again;
    EXPECT_FALSE(signUpNewbie(&again));
    EXPECT_EQ(again ? again->httpStatus() : 0, 409);
    EXPECT_EQ(state()["consumers"].size(), 3u) << "the refused sign-up stored nothing";
}

TEST_F(ServiceEndToEnd, RedemptionStopsAtTheLimitAndARepeatIsNotAppliedAgain) {
    ASSERT_TRUE(authenticate("jdoe"));
    const auto first = std::get<0>(redeem("SAVE10", "POS-7"));
    ASSERT_TRUE(first);
    EXPECT_EQ(std::get<0>(redeem("SAVE10", "POS-7")), first);
    const auto refused = std::get<1>(redeem("SAVE10", "POS-8"));
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->httpStatus(), 409);
    EXPECT_EQ(redemptions(), 1u);
}

TEST_F(ServiceEndToEnd, AFileDatabaseKeepsEverythingAcrossARestartAndIsNotSeededAgain) {
    TemporaryFolder folder;
    const std::string database = (folder.path() / "service.db").string();
    restartOn(database);
    ASSERT_TRUE(signUpNewbie());
    ASSERT_TRUE(authenticate("jdoe"));
    const auto location = std::get<0>(redeem("GOLD20", "POS-1"));
    ASSERT_TRUE(location);
    ASSERT_TRUE(std::get<0>(
        awaitCall<M::PushCompletion>([&](auto done) { manager->setPushDeviceToken(QVCJSON("token-1"), done); })));
    auto before = state();

    restartOn(database);  // with the seed given again
    auto after = state();
    for (auto* held : {&before, &after}) {
        held->erase("requestCounts");  // counted in memory, since the start
    }
    EXPECT_EQ(after, before);
    const auto newbie = authenticate("newbie");
    ASSERT_TRUE(newbie);
    EXPECT_EQ(newbie->lastName, "Newman");
    ASSERT_TRUE(authenticate("jdoe"));
    EXPECT_EQ(std::get<0>(loyalty()), 1250 - 500);
    EXPECT_EQ(std::get<0>(redeem("GOLD20", "POS-1")), location) << "the repeat still finds the first";
    EXPECT_EQ(state()["redemptions"].size(), 1u);
    EXPECT_EQ(state()["deviceTokens"][0]["deviceToken"], "token-1");
}

TEST_F(ServiceEndToEnd, ConcurrentReadsAndRedemptionsCompleteOnceAndNoRedemptionIsLostOrDoubled) {
    manager = managerWith(appKey, 10000);  // the requests queue for the connections: room for the wait
    ASSERT_TRUE(authenticate("jdoe"));
    // FUEL15 may be redeemed 4 times and costs no points: of 8 distinct redemptions, 4 are applied.
    constexpr int each = 8, limit = 4;
    std::array<Record<M::LoyaltyCompletion>, each> reads;
    std::array<Record<M::RedemptionCompletion>, each> sends;
    for (int i = 0; i < each; ++i) {
        manager->retrieveLoyaltyInfo(reads[i].completion());
        manager->redeemOfferWithAmount(QVCJSON("20"), "FUEL15", QVCJSON("POS-" + std::to_string(i)),
                                       sends[i].completion());
    }
    std::set<std::string> locations;
    int refused = 0;
    for (int i = 0; i < each; ++i) {
        EXPECT_EQ(std::get<0>(reads[i].wait()), 1250);
        const auto [location, error, exception] = sends[i].wait();
        if (location) {
            locations.insert(*location);
        }
        refused += error && error->httpStatus() == 409;
    }
    EXPECT_EQ(locations.size(), std::size_t{limit});
    EXPECT_EQ(refused, each - limit);
    const auto after = state();
    EXPECT_EQ(after["redemptions"].size(), std::size_t{limit});
    EXPECT_EQ(after["requestCounts"].value("lqsapi/consumers/v1/consumers/1001/offers/9005/redeems", 0), each);
    EXPECT_EQ(after["requestCounts"].value("lqsapi/consumers/v1/consumer/1001/balance/loyalty", 0), each);
    std::this_thread::sleep_for(20ms);
    for (int i = 0; i < each; ++i) {
        EXPECT_EQ(reads[i].calls, 1);
        EXPECT_EQ(sends[i].calls, 1);
    }
}

TEST_F(ServiceEndToEnd, WrongCredentialsAndBadDocumentsAreRefusedNamingWhatWasWrong) {
    manager = managerWith("not-the-key");
    const auto refused = std::get<1>(awaitCall<M::MasterDataCompletion>(
        [&](auto done) { manager->getMasterDataWithCompletionWithCompletion(done); }));
    EXPECT_EQ(refused ? refused->httpStatus() : 0, 401);

    auto client = this->client();
    const std::pair<const char*, const char*> cases[] = {
        {R"({"consumers": {"userId": "x"}})", "consumers.quorvexId is missing"},
        {R"({"consumerRq": {"consumers": []}})", "consumerRq.consumers must be an object"},
        {"not json", "the request body is not JSON"},
    };
    for (const auto& [body, message] : cases) {
        const auto result = client.Post("/lqsapi/consumers/v1/consumer", body, "application/json");
        ASSERT_TRUE(result);
        EXPECT_EQ(result->status, 400) << body;
        EXPECT_EQ(QVCJSON::parse(result->body).value("message", ""), message);
    }
}

/// One fault, injected once for a read (master data) and once for a send (a
/// redemption), with what each must end in.
struct FaultCase {
    const char* name;
    QVCJSON fault;
    std::optional<Kind> readError;  ///< none: the read succeeds
    int readsReceived;              ///< times the service received the read
    std::optional<Kind> sendError;
    std::size_t redemptionsApplied;
};

class ServiceFaults : public ServiceEndToEnd, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(ServiceFaults, EachOperationCompletesOnceAsDocumented) {
    const auto& row = GetParam();
    ASSERT_TRUE(authenticate("jdoe"));
    auto readFault = row.fault, sendFault = row.fault;
    readFault["method"] = "GET";
    readFault["path"] = "*v1/data";
    sendFault["method"] = "POST";
    sendFault["path"] = "*/redeems";
    sendFault["count"] = 1;
    admin("/__admin/faults", QVCJSON::array({readFault, sendFault}));

    Record<M::MasterDataCompletion> read;
    manager->getMasterDataWithCompletionWithCompletion(read.completion());
    const auto [masterData, readError, readException] = read.wait();
    EXPECT_EQ(readError ? std::optional<Kind>(readError->kind()) : std::nullopt, row.readError);
    EXPECT_EQ(masterData != nullptr, !row.readError);
    EXPECT_EQ(received("lqsapi/consumers/v1/data"), row.readsReceived);

    Record<M::RedemptionCompletion> send;
    manager->redeemOfferWithAmount(QVCJSON("57.00"), "SAVE10", QVCJSON("POS-F"), send.completion());
    const auto [location, sendError, sendException] = send.wait();
    EXPECT_EQ(sendError ? std::optional<Kind>(sendError->kind()) : std::nullopt, row.sendError);
    EXPECT_EQ(received("lqsapi/consumers/v1/consumers/1001/offers/9001/redeems"), 1) << "a send goes out once";
    EXPECT_EQ(redemptionsSettled(row.redemptionsApplied), row.redemptionsApplied);
    // A client that could not learn the outcome asks again: nothing is applied twice.
    EXPECT_TRUE(std::get<0>(redeem("SAVE10", "POS-F")));
    EXPECT_EQ(redemptions(), 1u);

    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(read.calls, 1);
    EXPECT_EQ(send.calls, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Matrix, ServiceFaults,
    ::testing::Values(
        FaultCase{"Status503", {{"status", 503}}, std::nullopt, 2, Kind::HTTPStatus, 0},
        FaultCase{"Status503RetryAfter", {{"status", 503}, {"retryAfter", "1"}}, std::nullopt, 2, Kind::HTTPStatus, 0},
        FaultCase{"Status503Persisting", {{"status", 503}, {"count", 3}}, Kind::HTTPStatus, 3, Kind::HTTPStatus, 0},
        FaultCase{"ResetBeforeBody", {{"action", "reset-before-body"}}, std::nullopt, 2, Kind::OutcomeUnknown, 0},
        FaultCase{"ResetAfterBody", {{"action", "reset-after-body"}}, std::nullopt, 2, Kind::OutcomeUnknown, 1},
        FaultCase{"TruncatedBody", {{"action", "truncate"}}, std::nullopt, 2, Kind::OutcomeUnknown, 1},
        FaultCase{"NotJSON", {{"action", "not-json"}}, Kind::Transport, 1, Kind::Transport, 1},
        FaultCase{"DelayPastTheTimeout", {{"delayMs", 700}}, std::nullopt, 2, Kind::OutcomeUnknown, 1}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
