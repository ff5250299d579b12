// A manager in the simulation environment, answered by the shipped file on
// the simulation transport's own thread, for every public operation.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>

#include "QVConsumer/OfferDetails.h"
#include "QVConsumer/OfferType.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCPersonalInfo.h"
#include "QVConsumer/QVCProduct.h"
#include "QVConsumer/QVConsumerManager.h"
#include "TestSupport.h"
#include "platform/QVCEnvironment.h"

namespace {

using Manager = QVConsumerManager;

/// Starts an operation and waits for its one completion call.
template <typename Completion>
struct Awaiting;

template <typename... Args>
struct Awaiting<std::function<void(Args...)>> {
    template <typename Start>
    static std::tuple<std::decay_t<Args>...> call(const Start& start) {
        auto promise = std::make_shared<std::promise<std::tuple<std::decay_t<Args>...>>>();
        auto answered = promise->get_future();
        start(std::function<void(Args...)>([promise](Args... args) { promise->set_value({std::move(args)...}); }));
        if (answered.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
            throw std::runtime_error("no completion within 10 s");
        }
        return answered.get();
    }
};

class ShippedSimulation : public ::testing::Test {
protected:
    std::shared_ptr<Manager> manager = makeSimulationManager("1001");

    std::shared_ptr<QVCOffer> offerByCode(const std::string& code) {
        auto [offer, error, exception] =
            Awaiting<Manager::OfferCompletion>::call([&](auto done) { manager->getOfferWithOfferCode(code, done); });
        EXPECT_FALSE(error || exception) << code;
        return offer;
    }
};

TEST_F(ShippedSimulation, AnswersReferenceListsAndTwoConsumers) {
    ASSERT_TRUE(manager->simulatePath());
    auto [data, dataError, dataException] = Awaiting<Manager::MasterDataCompletion>::call(
        [&](auto done) { manager->getMasterDataWithCompletionWithCompletion(done); });
    ASSERT_TRUE(data) << (dataError ? dataError->description() : "no error");
    for (const auto* list :
         {&data->ageRangeTypes, &data->maritalStatusTypes, &data->incomeRangeTypes, &data->consumerGroupTypes,
          &data->educationTypes, &data->occupationTypes, &data->merchantTypes}) {
        EXPECT_GE(list->size(), 3U);
    }
    EXPECT_GE(data->states.size(), 3U);
    EXPECT_GE(data->country.size(), 2U);

    for (const auto& [user, id] : {std::pair{"jdoe", "1001"}, std::pair{"asmith", "1002"}}) {
        auto [consumer, error, exception] = Awaiting<Manager::ConsumerCompletion>::call(
            [&](auto done) { manager->authenticateConsumerWithUserName(user, done); });
        ASSERT_TRUE(consumer) << user;
        EXPECT_TRUE(consumer->firstName && consumer->lastName) << user;
        EXPECT_EQ(manager->consumerID(), std::optional<std::string>(id));
    }
    auto [nobody, error, exception] = Awaiting<Manager::ConsumerCompletion>::call(
        [&](auto done) { manager->authenticateConsumerWithUserName("nobody", done); });
    EXPECT_FALSE(nobody);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->errorMessages(), std::vector<std::string>{"404"});
}

TEST_F(ShippedSimulation, AnswersBalanceProfileAndPushRegistration) {
    auto [points, status, loyaltyError, loyaltyException] =
        Awaiting<Manager::LoyaltyCompletion>::call([&](auto done) { manager->retrieveLoyaltyInfo(done); });
    EXPECT_GT(points, 0);
    EXPECT_TRUE(status && !status->empty());
    EXPECT_EQ(manager->loyalty(), std::optional<std::string>(std::to_string(points)));

    auto profile = std::make_shared<QVCConsumerInfo>();
    profile->firstName = "Ann";
    profile->lastName = "Lee";
    profile->middleName = "";  // the update document sends every name as it stands
    profile->suffix = "";
    auto [signedUp, signUpError, signUpException] = Awaiting<Manager::ConsumerCompletion>::call(
        [&](auto done) { manager->signUpNewUserWithDetails(profile, done); });
    ASSERT_EQ(signedUp, profile);
    EXPECT_GT(profile->consumerID, 0);
    auto [updated, updateError, updateException] =
        Awaiting<Manager::ConsumerCompletion>::call([&](auto done) { manager->updateConsumerProfile(profile, done); });
    EXPECT_EQ(updated, profile);

    auto [registered, pushError, pushException] =
        Awaiting<Manager::PushCompletion>::call([&](auto done) { manager->setPushDeviceToken("token", done); });
    EXPECT_TRUE(registered);
}

TEST_F(ShippedSimulation, EveryListedOfferIsReachableByIdAndCodeAndCanBeUsed) {
    auto [offers, error, exception] =
        Awaiting<Manager::OffersCompletion>::call([&](auto done) { manager->getAllOffersWithCompletionHandler(done); });
    ASSERT_TRUE(offers);
    ASSERT_GE(offers->size(), 8U);
    int percent = 0;
    for (const auto& listed : *offers) {
        percent += listed->offerDetails->type->typeDescription == "PERCENT OFF";
        auto [byId, idError, idException] = Awaiting<Manager::OfferCompletion>::call(
            [&](auto done) { manager->getOfferDetailsWithOfferID(QVCJSON(*listed->offerId), done); });
        ASSERT_TRUE(byId) << *listed->offerId;
        EXPECT_EQ(byId->offerCode, listed->offerCode);
        EXPECT_EQ(offerByCode(" " + *listed->offerCode + "\t")->offerId, listed->offerId);
    }
    EXPECT_GE(percent, 2);
    EXPECT_LE(percent, static_cast<int>(offers->size()) - 2);

    auto [unknown, unknownError, unknownException] = Awaiting<Manager::OfferCompletion>::call(
        [&](auto done) { manager->getOfferWithOfferCode("NOSUCHCODE", done); });
    ASSERT_TRUE(unknownError);
    EXPECT_EQ(unknownError->errorMessages(), std::vector<std::string>{"This offer is not valid any more"});

    auto item = std::make_shared<QVCProduct>();
    item->productId = offerByCode("SAVE10")->offerDetails->products->front()->productId;
    item->price = "40";
    item->quantity = 1;
    auto [valid, priced, amountOff, validationError, validationException] =
        Awaiting<Manager::ValidationCompletion>::call(
            [&](auto done) { manager->validateOfferWithOfferCode("SAVE10", Manager::Products{item}, done); });
    EXPECT_TRUE(valid);
    ASSERT_TRUE(priced && priced->size() == 1);
    EXPECT_EQ(priced->front()->price, std::optional<std::string>("36.000000"));

    auto [location, redeemError, redeemException] = Awaiting<Manager::RedemptionCompletion>::call(
        [&](auto done) { manager->redeemOfferWithAmount(QVCJSON(40), "SAVE10", QVCJSON("R-1"), done); });
    EXPECT_TRUE(location && !location->empty()) << (redeemError ? redeemError->description() : "no error");
}

TEST(SimulationEnvironment, AManagerAnswersFromTheShippedFileOnTheTransportThread) {
    auto manager = makeSimulationManager("1001");
    ASSERT_TRUE(manager && manager->simulatePath());
    std::promise<std::string> hooked;
    manager->setAnswerExceptionHook(
        [&](std::exception_ptr exception) { hooked.set_value(exceptionMessage<std::exception>(exception)); });
    std::optional<bool> success;
    std::thread::id thread;
    manager->setPushDeviceToken("token", [&](bool ok, QVConsumerManager::Error error, std::exception_ptr) {
        success = ok && !error;
        thread = std::this_thread::get_id();
        throw std::runtime_error("host completion failed");
    });
    auto escaped = hooked.get_future();
    ASSERT_EQ(escaped.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(escaped.get(), "host completion failed") << "the exception reached the host's hook, not the process";
    EXPECT_EQ(success, std::optional<bool>(true));
    EXPECT_NE(thread, std::this_thread::get_id());
}

}  // namespace
