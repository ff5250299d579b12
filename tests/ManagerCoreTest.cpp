#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "QVConsumer/QVCBundle.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCPConstant.h"
#include "TestSupport.h"

namespace {

namespace fs = std::filesystem;

TEST(ManagerConstruction, StartsWithEmptyLoyaltyAndKeepsTheBaseState) {
    auto company = std::make_shared<QVCCompanyInfo>();
    company->companyID = 9;
    Record<QVConsumerManager::StatusCompletion> init;
    auto manager = QVConsumerManager::initWithAppID("app", "key", company, "77", QVCEnvironmentLive, init.completion());
    ASSERT_TRUE(manager);
    EXPECT_EQ(init.calls, 1);
    EXPECT_TRUE(init.get<0>());
    EXPECT_FALSE(init.error() || init.exception());
    EXPECT_EQ(manager->loyalty(), std::optional<std::string>(""));
    EXPECT_EQ(manager->consumerID(), std::optional<std::string>("77"));
    EXPECT_EQ(manager->companyInfo(), company);
    EXPECT_EQ(manager->facilityInfo()->facilityID, 0);
    EXPECT_EQ(manager->environment(), QVCEnvironmentLive);
    EXPECT_EQ(manager->appID(), std::optional<std::string>("app"));
}

TEST(ManagerConstruction, YieldsNothingWhenThePlatformRefuses) {
    std::vector<std::string> messages;
    auto remember = [&](bool, QVConsumerManager::Error error, std::exception_ptr) {
        messages.push_back(error->errorMessages().at(0));
    };
    auto company = std::make_shared<QVCCompanyInfo>();
    EXPECT_FALSE(QVConsumerManager::initWithAppID(std::nullopt, "key", company, "1", 0, remember));
    EXPECT_FALSE(QVConsumerManager::initWithAppID("app", "", company, "1", 0, remember));
    EXPECT_FALSE(QVConsumerManager::initWithAppID("app", "key", nullptr, "1", 0, remember));
    EXPECT_EQ(messages, (std::vector<std::string>{"cannot initialise: application id is missing",
                                                  "cannot initialise: application key is missing",
                                                  "cannot initialise: company information is missing"}));
}

TEST(ManagerConstruction, FindsTheSimulationFileInTheChosenFolder) {
    TemporaryFolder folder;
    std::ofstream(folder.path() / "QVConsumerSimulate.json") << "[]";
    ScopedEnvironment chosen(QVCBundle::resourceDirVariable, folder.path().string());
    auto manager = makeSimulationManager("1");
    EXPECT_EQ(manager->simulatePath(), (folder.path() / "QVConsumerSimulate.json").string());
}

TEST(ManagerConstruction, AMissingSimulationFileLeavesNoPathAndRequestsCarryNone) {
    TemporaryFolder empty;
    ScopedEnvironment chosen(QVCBundle::resourceDirVariable, empty.path().string());
    auto manager = makeSimulationManager("1");
    EXPECT_FALSE(manager->simulatePath());

    auto handler = std::make_shared<QVCScriptedWebServiceHandler>();
    manager->setWebServiceHandler(handler);
    manager->setPushDeviceToken("t", nullptr);
    EXPECT_FALSE(handler->lastRequest().simulateFilePath);
}

TEST(ManagerConstruction, AFolderNamedLikeTheFileIsNotTheFile) {
    TemporaryFolder folder;
    fs::create_directory(folder.path() / "QVConsumerSimulate.json");
    ScopedEnvironment chosen(QVCBundle::resourceDirVariable, folder.path().string());
    EXPECT_FALSE(QVCBundle::pathForResource("QVConsumerSimulate", "json"));
}

TEST(ManagerConstruction, WithoutAnInjectedHandlerRequestsGetAnErrorNotACrash) {
    // An environment the platform has no transport for answers at once with an error naming the request.
    auto manager = QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), "1", 99, nullptr);
    Record<QVConsumerManager::PushCompletion> result;
    manager->setPushDeviceToken("t", result.completion());
    EXPECT_EQ(result.calls, 1);
    EXPECT_FALSE(result.get<0>());
    ASSERT_TRUE(result.error());
    EXPECT_THAT(result.error()->description(), HasSubstr("lqsapi/consumers/v1/consumer/1/device"));
}

TEST(PathConstants, HoldTheServicePaths) {
    EXPECT_STREQ(_getMasterData, "lqsapi/consumers/v1/data");
    EXPECT_STREQ(_loginService, "lqsapi/consumers/v1/consumer/");
    EXPECT_STREQ(_registerAppConsumerService, "lqsapi/consumers/v1/consumer");
    EXPECT_STREQ(_retrieveLoyaltyInfo, "lqsapi/consumers/v1/consumer/");
    EXPECT_STREQ(_saveConsumerService, "lqsapi/consumers/v1/consumer/");
    EXPECT_STREQ(_changePasswordService, "lqsapi/consumer/changePassword");
    EXPECT_STREQ(_forgetPasswordService, "lqsapi/consumer/forgotPassword");
    EXPECT_STREQ(QVCHelperAPICategoryId, "categoryId");
    EXPECT_STREQ(QVCHelperAPIImageURL, "imageUrl");
    EXPECT_DOUBLE_EQ(QVConsumerVersionNumber, 1.0);
}

TEST(ConsumerIdentity, SetConsumerIDReportsOnceAndCanBeRefused) {
    auto manager = makeSimulationManager("1");
    std::vector<bool> outcomes;
    auto record = [&](bool success, QVConsumerManager::Error error, std::exception_ptr) {
        outcomes.push_back(success);
        EXPECT_EQ(success, error == nullptr);
    };
    manager->setConsumerID("55", record);
    EXPECT_EQ(manager->consumerID(), std::optional<std::string>("55"));
    manager->setConsumerID("", record);
    EXPECT_EQ(manager->consumerID(), std::optional<std::string>("55"));

    manager->setConsumerIDValidator([](const std::optional<std::string>& id) -> QVConsumerManager::Error {
        return id == "66" ? QVCErrorResponse::initWithErrorMessages({"locked"}) : nullptr;
    });
    manager->setConsumerID("66", record);
    manager->setConsumerID("67", record);
    EXPECT_EQ(manager->consumerID(), std::optional<std::string>("67"));
    EXPECT_EQ(outcomes, (std::vector<bool>{true, false, false, true}));
}

}  // namespace
