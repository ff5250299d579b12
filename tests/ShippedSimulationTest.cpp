// A manager in the simulation environment, answered by the shipped file on the
// simulation transport's own thread. The tool tests check what every operation
// prints; these check what the tool cannot show.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>

#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVConsumerManager.h"
#include "TestSupport.h"

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

TEST(SimulationEnvironment, AManagerAnswersFromTheShippedFileOnTheTransportThread) {
    auto manager = makeSimulationManager("1001");
    ASSERT_TRUE(manager && manager->simulatePath());
    std::promise<std::string> hooked;
    manager->setAnswerExceptionHook(
        [&](std::exception_ptr exception) { hooked.set_value(exceptionMessage<std::exception>(exception)); });
    std::optional<bool> success;
    std::thread::id thread;
    manager->setPushDeviceToken("token", [&](bool ok, Manager::Error error, std::exception_ptr) {
        success = ok && !error;
        thread = std::this_thread::get_id();
        throw std::runtime_error("host completion failed");
    });
    auto escaped = hooked.get_future();
    ASSERT_EQ(escaped.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(escaped.get(), "host completion failed") << "the exception reached the host's hook, not the process";
    EXPECT_EQ(success, std::optional<bool>(true)) << "the push registration succeeded";
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(ShippedSimulation, AnswersSignUpUpdateAndLoyaltyAndRejectsAnUnknownUser) {
    auto manager = makeSimulationManager("1001");
    auto [points, status, loyaltyError, loyaltyException] =
        Awaiting<Manager::LoyaltyCompletion>::call([&](auto done) { manager->retrieveLoyaltyInfo(done); });
    EXPECT_GT(points, 0);

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

    auto [nobody, error, exception] = Awaiting<Manager::ConsumerCompletion>::call(
        [&](auto done) { manager->authenticateConsumerWithUserName("nobody", done); });
    EXPECT_EQ(error ? error->errorMessages() : std::vector<std::string>{}, std::vector<std::string>{"404"});
}

TEST(ShippedSimulation, EveryListedOfferIsReachableByIdAndCode) {
    auto manager = makeSimulationManager("1001");
    auto [offers, error, exception] =
        Awaiting<Manager::OffersCompletion>::call([&](auto done) { manager->getAllOffersWithCompletionHandler(done); });
    ASSERT_TRUE(offers && !offers->empty());
    for (const auto& listed : *offers) {
        auto [byId, idError, idException] = Awaiting<Manager::OfferCompletion>::call(
            [&](auto done) { manager->getOfferDetailsWithOfferID(QVCJSON(*listed->offerId), done); });
        ASSERT_TRUE(byId) << *listed->offerId;
        EXPECT_EQ(byId->offerCode, listed->offerCode);
        auto [byCode, codeError, codeException] = Awaiting<Manager::OfferCompletion>::call(
            [&](auto done) { manager->getOfferWithOfferCode(*listed->offerCode, done); });
        ASSERT_TRUE(byCode) << *listed->offerCode;
        EXPECT_EQ(byCode->offerId, listed->offerId);
    }
    auto [unknown, unknownError, unknownException] = Awaiting<Manager::OfferCompletion>::call(
        [&](auto done) { manager->getOfferWithOfferCode("NOSUCHCODE", done); });
    ASSERT_TRUE(unknownError);
    EXPECT_EQ(unknownError->errorMessages(), std::vector<std::string>{"This offer is not valid any more"});
}

}  // namespace
