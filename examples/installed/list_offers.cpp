// Lists a consumer's offers in the simulation environment, answered by the
// simulation file installed with the library. Exits 1 when no offer comes.
#include <future>
#include <iostream>

#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVConsumerManager.h"
#include "platform/QVCEnvironment.h"

int main() {
    auto manager = QVConsumerManager::initWithAppID("example-app", "example-key", std::make_shared<QVCCompanyInfo>(),
                                                    "1001", QVCEnvironmentSimulation, nullptr);
    if (!manager || !manager->simulatePath()) {
        std::cerr << "no manager, or no simulation file installed\n";
        return 1;
    }
    std::cout << "simulation file: " << *manager->simulatePath() << '\n';
    std::promise<std::size_t> listed;
    manager->getAllOffersWithCompletionHandler([&](std::optional<std::vector<std::shared_ptr<QVCOffer>>> offers,
                                                   QVConsumerManager::Error error, std::exception_ptr) {
        for (const auto& offer : offers.value_or(std::vector<std::shared_ptr<QVCOffer>>{})) {
            std::cout << offer->offerCode.value_or("-") << "  " << offer->offerName.value_or("-") << '\n';
        }
        if (error) {
            std::cerr << error->description() << '\n';
        }
        listed.set_value(offers ? offers->size() : 0);
    });
    return listed.get_future().get() > 0 ? 0 : 1;
}
