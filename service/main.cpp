// qvconsumer-service: a local reference service for the QVConsumer library.
#include <CLI/CLI.hpp>

#include <csignal>
#include <iostream>
#include <optional>
#include <string>

#include "QVConsumer/QVCBundle.h"
#include "service/QVCReferenceService.h"
#include "service/QVCServiceSeed.h"

int main(int argc, char** argv) {
    CLI::App app{"qvconsumer-service: serves the QVConsumer requests locally, with its state in SQLite"};
    std::string host = "127.0.0.1";
    int port = 0;
    std::optional<std::string> database;
    std::optional<std::string> seedFile;
    QVCReferenceService::Options options;
    app.add_option("--host", host, "address to listen on")->capture_default_str();
    app.add_option("--port", port, "port to listen on; 0 picks a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--db", database, "SQLite database file; without it the state is kept in memory");
    app.add_option("--seed", seedFile,
                   "simulation file to seed a new database from (default: the shipped QVConsumerSimulate.json)");
    app.add_option("--app-id", options.appID, "application id that requests must carry")
        ->envname("QVCONSUMER_APP_ID")
        ->required();
    app.add_option("--app-key", options.appKey, "application key that requests must carry")
        ->envname("QVCONSUMER_APP_KEY")
        ->required();
    CLI11_PARSE(app, argc, argv);

    // The signals are taken by sigwait below, also on the server's threads, which inherit this mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    try {
        if (!seedFile) {
            seedFile = QVCBundle::pathForResource("QVConsumerSimulate", "json");
            if (!seedFile) {
                throw std::runtime_error("the shipped QVConsumerSimulate.json was not found: give --seed FILE");
            }
        }
        options.databasePath = database;
        options.seed = QVCServiceSeed::fromFile(*seedFile);
        QVCReferenceService service(std::move(options));
        service.start(host, port);
        std::cout << service.url() << std::endl;
        int received = 0;
        sigwait(&stopSignals, &received);
        service.stop();
    } catch (const std::exception& failure) {
        std::cerr << "qvconsumer-service: " << failure.what() << "\n";
        return 2;
    }
    return 0;
}
