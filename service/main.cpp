// qvconsumer-service: a local reference service for the QVConsumer library.
#include <CLI/CLI.hpp>

#include <csignal>
#include <iostream>
#include <optional>
#include <string>

#include "service/QVCReferenceService.h"
#include "service/QVCServiceSeed.h"

namespace {

/// Exit status of a usage error or a service that cannot start.
constexpr int usageExit = 2;

void addLimitOptions(CLI::App& app, QVCServiceHTTP::Limits& limits) {
    app.add_option("--header-timeout", limits.headerTimeoutMs, "milliseconds a request's headers may take")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str();
    app.add_option("--body-timeout", limits.bodyTimeoutMs, "milliseconds a request's body may take")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str();
    app.add_option("--idle-timeout", limits.idleTimeoutMs, "milliseconds a kept-alive connection may wait idle")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str();
    app.add_option("--max-body", limits.maxBodyBytes, "largest request body in bytes (larger: 413)")
        ->check(CLI::Range(std::size_t{0}, std::size_t{1} << 30))
        ->capture_default_str();
    app.add_option("--grace", limits.graceMs, "milliseconds requests in progress get to finish on SIGINT/SIGTERM")
        ->check(CLI::Range(0, 3600000))
        ->capture_default_str();
}

/// Serves until SIGINT or SIGTERM; throws what keeps the service from starting.
void serve(QVCReferenceService::Options options, const std::string& host, int port,
           const std::optional<std::string>& seedFile) {
    // The signals are taken by sigwait below, also on the server's threads, which inherit this mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    const auto seed = seedFile ? seedFile : QVCServiceSeed::shippedFile(QVC_RESOURCES_FROM_BINDIR);
    if (!seed) {
        throw std::runtime_error("the shipped QVConsumerSimulate.json was not found: give --seed FILE");
    }
    options.seed = QVCServiceSeed::fromFile(*seed);
    QVCReferenceService service(std::move(options));
    service.start(host, port);
    std::cout << service.url() << std::endl;
    int received = 0;
    sigwait(&stopSignals, &received);
    service.stop();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"qvconsumer-service: serves the QVConsumer requests locally, with its state in SQLite"};
    std::string host = "127.0.0.1";
    int port = 0;
    std::optional<std::string> seedFile;
    QVCReferenceService::Options options;
    app.add_option("--host", host, "address to listen on")->capture_default_str();
    app.add_option("--port", port, "port to listen on; 0 picks a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--db", options.databasePath, "SQLite database file; without it the state is kept in memory");
    app.add_option("--seed", seedFile,
                   "simulation file to seed a new database from (default: the shipped QVConsumerSimulate.json)");
    app.add_option("--app-id", options.appID, "application id that requests must carry")
        ->envname("QVCONSUMER_APP_ID")
        ->required();
    app.add_option("--app-key", options.appKey, "application key that requests must carry")
        ->envname("QVCONSUMER_APP_KEY")
        ->required();
    app.add_option("--admin-key", options.adminKey, "key admin requests may carry in X-Admin-Key instead")
        ->envname("QVCONSUMER_ADMIN_KEY");
    addLimitOptions(app, options.limits);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& failure) {
        std::cerr << "qvconsumer-service: " << failure.what() << " (see --help)\n";
        return usageExit;
    }
    try {
        serve(std::move(options), host, port, seedFile);
    } catch (const std::exception& failure) {
        std::cerr << "qvconsumer-service: " << failure.what() << "\n";
        return usageExit;
    }
    return 0;
}
