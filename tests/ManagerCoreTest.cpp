#include <filesystem>
#include <fstream>

#include "QVConsumer/QVCBundle.h"
#include "TestSupport.h"

namespace {

namespace fs = std::filesystem;

TEST(ManagerConstruction, ReportsSuccessOnceOrYieldsNothingNamingWhatIsMissing) {
    std::vector<std::string> outcomes;
    auto remember = [&](bool success, QVConsumerManager::Error error, std::exception_ptr) {
        outcomes.push_back(success ? "ok" : error->errorMessages().at(0));
    };
    auto company = std::make_shared<QVCCompanyInfo>();
    auto manager = QVConsumerManager::initWithAppID("app", "key", company, "77", QVCEnvironmentLive, remember);
    ASSERT_TRUE(manager);
    EXPECT_EQ(manager->loyalty(), std::optional<std::string>(""));
    EXPECT_FALSE(QVConsumerManager::initWithAppID(std::nullopt, "key", company, "1", 0, remember));
    EXPECT_FALSE(QVConsumerManager::initWithAppID("app", "", company, "1", 0, remember));
    EXPECT_FALSE(QVConsumerManager::initWithAppID("app", "key", nullptr, "1", 0, remember));
    EXPECT_EQ(outcomes, (std::vector<std::string>{"ok", "cannot initialise: application id is missing",
                                                  "cannot initialise: application key is missing",
                                                  "cannot initialise: company information is missing"}));
}

TEST(ManagerConstruction, TakesTheSimulationFileOnlyFromTheChosenFolder) {
    TemporaryFolder folder;
    ScopedEnvironment chosen(QVCBundle::resourceDirVariable, folder.path().string());
    // A folder named like the file is not the file.
    fs::create_directory(folder.path() / "QVConsumerSimulate.json");
    auto manager = makeSimulationManager("1");
    EXPECT_FALSE(manager->simulatePath());
    auto handler = std::make_shared<QVCScriptedWebServiceHandler>();
    manager->setWebServiceHandler(handler);
    manager->setPushDeviceToken("t", nullptr);
    EXPECT_FALSE(handler->lastRequest().simulateFilePath);

    fs::remove(folder.path() / "QVConsumerSimulate.json");
    std::ofstream(folder.path() / "QVConsumerSimulate.json") << "[]";
    EXPECT_EQ(makeSimulationManager("1")->simulatePath(), (folder.path() / "QVConsumerSimulate.json").string());
}

TEST(ManagerConstruction, WithoutATransportRequestsGetAnErrorNotACrash) {
    // An environment the platform has no transport for answers at once with an error naming the request.
    auto manager = QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), "1", 99, nullptr);
    Record<QVConsumerManager::PushCompletion> result;
    manager->setPushDeviceToken("t", result.completion());
    EXPECT_EQ(result.calls, 1);
    ASSERT_TRUE(result.error());
    EXPECT_THAT(result.error()->description(), HasSubstr("lqsapi/consumers/v1/consumer/1/device"));
}

TEST(ConsumerIdentity, SetConsumerIDReportsOnceAndCanBeRefused) {
    auto manager = makeSimulationManager("1");
    std::vector<bool> outcomes;
    auto record = [&](bool success, QVConsumerManager::Error error, std::exception_ptr) {
        outcomes.push_back(success);
        EXPECT_EQ(success, error == nullptr);
    };
    manager->setConsumerID("", record);
    manager->setConsumerIDValidator([](const std::optional<std::string>& id) -> QVConsumerManager::Error {
        return id == "66" ? QVCErrorResponse::initWithErrorMessages({"locked"}) : nullptr;
    });
    manager->setConsumerID("66", record);
    manager->setConsumerID("67", record);
    EXPECT_EQ(manager->consumerID(), std::optional<std::string>("67"));
    EXPECT_EQ(outcomes, (std::vector<bool>{false, false, true}));
}

}  // namespace
