#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVConsumerManager.h"
#include "platform/QVCEnvironment.h"
#include "testkit/QVCScriptedWebServiceHandler.h"

using ::testing::HasSubstr;
using ::testing::Not;

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

/// The message of the Exception held by exception; "" when it holds none.
/// An exception of another type propagates and fails the test.
template <typename Exception = QVCException>
std::string exceptionMessage(std::exception_ptr exception) {
    try {
        if (exception) {
            std::rethrow_exception(exception);
        }
    } catch (const Exception& caught) {
        return caught.what();
    }
    return "";
}

/// The message of the Exception that call throws; "" when it throws none.
template <typename Exception = QVCException, typename Call>
std::string messageOf(const Call& call) {
    try {
        call();
    } catch (const Exception& caught) {
        return caught.what();
    }
    return "";
}

/// Texts that may be absent, side by side, to compare several in one expectation.
template <typename... Text>
std::vector<std::optional<std::string>> texts(const Text&... text) {
    return {std::optional<std::string>(text)...};
}

/// Records the calls of a completion of type std::function<void(Args...)>:
/// how often it was called and the arguments of the last call. The calls may
/// come on another thread: wait() blocks until the first.
template <typename Completion>
struct Record;
template <typename... Args>
struct Record<std::function<void(Args...)>> {
    int calls = 0;
    std::tuple<std::decay_t<Args>...> last;

    std::function<void(Args...)> completion() {
        return [this](Args... received) {
            std::lock_guard<std::mutex> lock(mutex);
            ++calls;
            last = std::make_tuple(received...);
            changed.notify_all();
        };
    }
    /// The argument at Index of the last call.
    template <std::size_t Index>
    const auto& get() const {
        return std::get<Index>(last);
    }
    /// The error record and the exception: the last two arguments of a completion that ends with both.
    const auto& error() const { return std::get<sizeof...(Args) - 2>(last); }
    std::exception_ptr exception() const { return std::get<sizeof...(Args) - 1>(last); }
    /// The arguments of the last call, after waiting up to 10 s for a first one.
    std::tuple<std::decay_t<Args>...> wait() {
        std::unique_lock<std::mutex> lock(mutex);
        EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(10), [this] { return calls > 0; })) << "no completion";
        return last;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
};

/// Starts an operation, passing it a completion of type Completion, and returns
/// the arguments of that completion's first call.
template <typename Completion, typename Start>
auto awaitCall(const Start& start) {
    auto record = std::make_shared<Record<Completion>>();  // outlives a call that comes too late
    start(Completion([record](auto... received) { record->completion()(received...); }));
    return record->wait();
}

/// A fresh, empty folder under the system's temporary folder, removed at the end.
class TemporaryFolder {
public:
    TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "qvc-test-XXXXXX").string()) {
        EXPECT_TRUE(::mkdtemp(path_.data())) << "cannot create " << path_;
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    std::filesystem::path path() const { return path_; }

private:
    std::string path_;
};

/// A manager for consumerID in the simulation environment, with the platform's own handler.
inline std::shared_ptr<QVConsumerManager> makeSimulationManager(const std::string& consumerID) {
    return QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), consumerID,
                                            QVCEnvironmentSimulation, nullptr);
}

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

using Delivery = QVCScriptedWebServiceHandler::Delivery;

/// A fixture with a manager answering in each delivery mode.
class ManagerTest : public ::testing::TestWithParam<Delivery> {
protected:
    std::shared_ptr<QVCScriptedWebServiceHandler> handler = std::make_shared<QVCScriptedWebServiceHandler>(GetParam());
    std::shared_ptr<QVConsumerManager> manager = makeManager(handler);

    /// A request left waiting holds a completion that holds the manager, which
    /// holds the handler: detaching the handler lets both go.
    ~ManagerTest() override { manager->setWebServiceHandler(nullptr); }

    /// Gives the answers in Deferred delivery; nothing to do in Immediate delivery.
    void deliver() { handler->releaseAll(); }

    bool deferred() const { return GetParam() == Delivery::Deferred; }

    /// Delivers and checks where an exception raised while an answer is read
    /// ends up: in the completion, called once, in Immediate delivery (the
    /// request's guard is still active); out of the handler's release, with no
    /// completion call, in Deferred delivery.
    template <typename Result>
    void expectAnswerException(const Result& result, const std::string& message) {
        EXPECT_EQ(messageOf([this] { deliver(); }), deferred() ? message : "");
        EXPECT_EQ(result.calls, deferred() ? 0 : 1);
        EXPECT_EQ(exceptionMessage(result.exception()), deferred() ? "" : message);
    }
};

#define QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(Fixture)                                         \
    INSTANTIATE_TEST_SUITE_P(                                                                \
        BothDeliveries, Fixture, ::testing::Values(Delivery::Immediate, Delivery::Deferred), \
        [](const auto& info) { return info.param == Delivery::Deferred ? "Deferred" : "Immediate"; })
