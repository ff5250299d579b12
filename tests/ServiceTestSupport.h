#pragma once

// The reference service in-process on a free port, seeded with the shipped simulation data.
#include <httplib.h>

#include <memory>
#include <optional>
#include <string>

#include "TestSupport.h"
#include "service/QVCReferenceService.h"
#include "service/QVCServiceSeed.h"

class ServiceTest : public ::testing::Test {
protected:
    static constexpr const char* appID = "app-e2e";
    static constexpr const char* appKey = "key-e2e";

    ServiceTest() { startService(std::nullopt); }

    /// The service's options: in memory or on a database file, the shipped seed, the test's credentials.
    static QVCReferenceService::Options optionsFor(const std::optional<std::string>& database) {
        QVCReferenceService::Options options;
        options.databasePath = database;
        options.seed = shippedSeed();
        options.appID = appID;
        options.appKey = appKey;
        return options;
    }

    /// Starts the service, in memory or on a database file; a running one is stopped first.
    void startService(const std::optional<std::string>& database) { startService(optionsFor(database)); }
    void startService(QVCReferenceService::Options options) {
        service.reset();
        service = std::make_unique<QVCReferenceService>(std::move(options));
        service->start();
    }

    static const QVCJSON& shippedSeed() {
        static const QVCJSON seed = QVCServiceSeed::fromFile(QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json");
        return seed;
    }

    /// A client of the service, sending the application's credentials.
    httplib::Client client() {
        httplib::Client client(service->url().substr(0, service->url().size() - 1));
        client.set_default_headers({{"X-App-Id", appID}, {"X-App-Key", appKey}});
        return client;
    }

    /// An admin request: a GET, or a POST of body; its answer, which must be 200.
    QVCJSON admin(const std::string& path, const std::optional<QVCJSON>& body = std::nullopt) {
        auto client = this->client();
        auto result = body ? client.Post(path.c_str(), body->dump(), "application/json") : client.Get(path.c_str());
        EXPECT_TRUE(result && result->status == 200) << path;
        return result ? QVCJSON::parse(result->body) : QVCJSON();
    }
    QVCJSON state() { return admin("/__admin/state"); }

    std::unique_ptr<QVCReferenceService> service;
};
