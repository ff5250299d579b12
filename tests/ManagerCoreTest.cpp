#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "QVConsumer/QVCBundle.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCPConstant.h"
#include "TestSupport.h"

namespace {

namespace fs = std::filesystem;

/// A fresh, empty folder under the system's temporary folder, removed at the end.
class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(fs::temp_directory_path() /
                ("qvc-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter()++))) {
        fs::create_directories(path_);
    }
    ~TemporaryFolder() { fs::remove_all(path_); }
    const fs::path& path() const { return path_; }

private:
    static int& counter() {
        static int next = 0;
        return next;
    }
    fs::path path_;
};

std::shared_ptr<QVConsumerManager> makePlainManager() {
    return QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), "1",
                                            QVCEnvironmentSimulation, nullptr);
}

TEST(ManagerConstruction, StartsWithEmptyLoyaltyAndKeepsTheBaseState) {
    auto company = std::make_shared<QVCCompanyInfo>();
    company->companyID = 9;
    int initCalls = 0;
    auto manager = QVConsumerManager::initWithAppID(
        "app", "key", company, "77", QVCEnvironmentLive,
        [&](bool success, QVConsumerManager::Error error, std::exception_ptr exception) {
            ++initCalls;
            EXPECT_TRUE(success);
            EXPECT_FALSE(error);
            EXPECT_FALSE(exception);
        });
    ASSERT_TRUE(manager);
    EXPECT_EQ(initCalls, 1);
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
    auto manager = makePlainManager();
    EXPECT_EQ(manager->simulatePath(), (folder.path() / "QVConsumerSimulate.json").string());
}

TEST(ManagerConstruction, AMissingSimulationFileLeavesNoPathAndRequestsCarryNone) {
    TemporaryFolder empty;
    ScopedEnvironment chosen(QVCBundle::resourceDirVariable, empty.path().string());
    auto manager = makePlainManager();
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
    int calls = 0;
    manager->setPushDeviceToken("t", [&](bool success, QVConsumerManager::Error error, std::exception_ptr) {
        ++calls;
        EXPECT_FALSE(success);
        ASSERT_TRUE(error);
        EXPECT_NE(error->description().find("lqsapi/consumers/v1/consumer/1/device"), std::string::npos);
    });
    EXPECT_EQ(calls, 1);
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
    auto manager = makePlainManager();
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
