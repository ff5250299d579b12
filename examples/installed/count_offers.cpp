// A host that calls only manager functions: it counts a consumer's offers in
// the simulation environment. Linked with --as-needed it depends on
// libQVConsumer alone, which must then find libQVCPlatform by itself.
// Exits 1 when no offer comes.
#include <future>
#include <iostream>

#include "QVConsumer/QVConsumerManager.h"
#include "platform/QVCEnvironment.h"

int main() {
    auto manager = QVConsumerManager::initWithAppID("example-app", "example-key", std::make_shared<QVCCompanyInfo>(),
                                                    "1001", QVCEnvironmentSimulation, nullptr);
    if (!manager) {
        std::cerr << "no manager\n";
        return 1;
    }
    std::promise<std::size_t> counted;
    manager->getAllOffersWithCompletionHandler(
        [&](std::optional<std::vector<std::shared_ptr<QVCOffer>>> offers, QVConsumerManager::Error,
            std::exception_ptr) { counted.set_value(offers ? offers->size() : 0); });
    const std::size_t count = counted.get_future().get();
    std::cout << count << " offers\n";
    return count > 0 ? 0 : 1;
}
