// qvconsumer demo --live: the journey over HTTP against a reference service
// that the tool runs in-process, when the build has one.
#include "Demo.h"

#ifdef QVC_TOOL_WITH_SERVICE
#include <memory>
#include <stdexcept>

#include "service/QVCReferenceService.h"
#include "service/QVCServiceSeed.h"

namespace {

// The credentials the tool and its own service agree on; they never leave this process.
const char* const demoAppID = "qvconsumer-demo";
const char* const demoAppKey = "qvconsumer-demo-key";

/// A running service seeded from seedFile; refusals end the command (ExitServiceError).
std::unique_ptr<QVCReferenceService> startService(const std::string& seedFile) {
    try {
        QVCReferenceService::Options options;
        options.seed = QVCServiceSeed::fromFile(seedFile);
        options.appID = demoAppID;
        options.appKey = demoAppKey;
        auto service = std::make_unique<QVCReferenceService>(std::move(options));
        service->start();
        return service;
    } catch (const std::runtime_error& error) {
        throw Failure(ExitServiceError,
                      std::string("demo --live: the reference service did not start: ") + error.what());
    }
}

}  // namespace

void tellJourneyLive(Session& session) {
    const auto seedFile = session.manager().simulatePath();
    if (!seedFile) {
        throw Failure(ExitUsage,
                      "demo --live seeds its service from the simulation file, which was not found: pass "
                      "--simulation-file or set QVCONSUMER_RESOURCE_DIR");
    }
    auto service = startService(*seedFile);
    GlobalOptions options = session.options();
    options.environment = "live";
    options.serviceURL = service->url();
    options.appID = demoAppID;
    options.appKey = demoAppKey;
    Session live(options);
    tellJourney(live, "the reference service at " + service->url());
}

#else

void tellJourneyLive(Session&) {
    throw Failure(ExitUsage,
                  "demo --live needs the reference service, which this build of qvconsumer leaves out "
                  "(configure with -DQVC_BUILD_SERVICE=ON)");
}

#endif
