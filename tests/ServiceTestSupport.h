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

    /// Starts the service, in memory or on a database file; a running one is stopped first.
    void startService(const std::optional<std::string>& database) {
        service.reset();
        service =
            std::make_unique<QVCReferenceService>(QVCReferenceService::Options{database, shippedSeed(), appID, appKey});
        service->start();
    }

    static const QVCJSON& shippedSeed() {
        static const QVCJSON seed = QVCServiceSeed::fromFile(QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json");
        return seed;
    }

    /// An admin request: a GET, or a POST of body; its answer, which must be 200.
    QVCJSON admin(const std::string& path, const std::optional<QVCJSON>& body = std::nullopt) {
        httplib::Client client(service->url().substr(0, service->url().size() - 1));
        auto result = body ? client.Post(path.c_str(), body->dump(), "application/json") : client.Get(path.c_str());
        EXPECT_TRUE(result && result->status == 200) << path;
        return result ? QVCJSON::parse(result->body) : QVCJSON();
    }
    QVCJSON state() { return admin("/__admin/state"); }

    std::unique_ptr<QVCReferenceService> service;
};
