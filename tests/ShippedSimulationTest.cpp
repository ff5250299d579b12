// A manager in the simulation environment, answered by the shipped file on the
// simulation transport's own thread. The tool tests check what every operation
// prints; these check what the tool cannot show.
#include <future>
#include <stdexcept>
#include <thread>

#include "QVConsumer/QVCOffer.h"
#include "TestSupport.h"

namespace {

using Manager = QVConsumerManager;

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

TEST(ShippedSimulation, EveryListedOfferIsReachableByIdAndCode) {
    auto manager = makeSimulationManager("1001");
    auto [offers, error, exception] =
        awaitCall<Manager::OffersCompletion>([&](auto done) { manager->getAllOffersWithCompletionHandler(done); });
    ASSERT_TRUE(offers && !offers->empty());
    for (const auto& listed : *offers) {
        auto byId = std::get<0>(awaitCall<Manager::OfferCompletion>(
            [&](auto done) { manager->getOfferDetailsWithOfferID(QVCJSON(*listed->offerId), done); }));
        ASSERT_TRUE(byId) << *listed->offerId;
        EXPECT_EQ(byId->offerCode, listed->offerCode);
        auto byCode = std::get<0>(awaitCall<Manager::OfferCompletion>(
            [&](auto done) { manager->getOfferWithOfferCode(*listed->offerCode, done); }));
        ASSERT_TRUE(byCode) << *listed->offerCode;
        EXPECT_EQ(byCode->offerId, listed->offerId);
    }
}

}  // namespace
