#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVConsumerManager.h"
#include "platform/QVCEnvironment.h"
#include "platform/QVCScriptedWebServiceHandler.h"

/// Sets an environment variable for the lifetime of the object.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) {
            old_ = old;
        }
        ::setenv(name, value.c_str(), 1);
    }
    ~ScopedEnvironment() {
        if (old_) {
            ::setenv(name_, old_->c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    const char* name_;
    std::optional<std::string> old_;
};

/// A manager for consumer "1234" of company 42 at facility 7, whose requests
/// go to a scripted handler.
inline std::shared_ptr<QVConsumerManager> makeManager(const std::shared_ptr<QVCScriptedWebServiceHandler>& handler,
                                                      std::optional<std::string> consumerID = "1234") {
    auto company = std::make_shared<QVCCompanyInfo>();
    company->companyID = 42;
    auto manager =
        QVConsumerManager::initWithAppID("app", "key", company, consumerID, QVCEnvironmentSimulation, nullptr);
    auto facility = std::make_shared<QVCFacilityInfo>();
    facility->facilityID = 7;
    manager->setFacilityInfo(facility);
    manager->setWebServiceHandler(handler);
    return manager;
}

/// A fixture with a manager answering in each delivery mode.
class ManagerTest : public ::testing::TestWithParam<QVCScriptedWebServiceHandler::Delivery> {
protected:
    std::shared_ptr<QVCScriptedWebServiceHandler> handler = std::make_shared<QVCScriptedWebServiceHandler>(GetParam());
    std::shared_ptr<QVConsumerManager> manager = makeManager(handler);

    /// A request left waiting holds a completion that holds the manager, which
    /// holds the handler: detaching the handler lets both go.
    ~ManagerTest() override { manager->setWebServiceHandler(nullptr); }

    /// Gives the answers in Deferred delivery; nothing to do in Immediate delivery.
    void deliver() { handler->releaseAll(); }
};

#define QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(Fixture)                                                    \
    INSTANTIATE_TEST_SUITE_P(BothDeliveries, Fixture,                                                   \
                             ::testing::Values(QVCScriptedWebServiceHandler::Delivery::Immediate,       \
                                               QVCScriptedWebServiceHandler::Delivery::Deferred),       \
                             [](const auto& info) {                                                     \
                                 return info.param == QVCScriptedWebServiceHandler::Delivery::Immediate \
                                            ? std::string("Immediate")                                  \
                                            : std::string("Deferred");                                  \
                             })
