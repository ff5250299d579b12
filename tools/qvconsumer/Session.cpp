#include "Session.h"

#include <iostream>

#include "platform/QVCEnvironment.h"
#include "platform/QVCFileText.h"
#include "platform/QVCPlatformConfiguration.h"

namespace {

/// How long the tool waits for an operation's completion: the budget of each
/// of up to two requests (redemption makes two) plus a margin. The simulation
/// answers at once and never retries: the time limit alone.
std::chrono::milliseconds waitLimit(const QVCPlatformConfiguration& configuration, bool live) {
    if (!live) {
        return std::chrono::milliseconds(configuration.bounded().totalTimeoutMs);
    }
    return 2 * configuration.requestBudget() + std::chrono::milliseconds(2000);
}

/// One line on stderr per HTTP exchange, e.g.
/// "qvconsumer: GET https://host/lqsapi/... -> 200 in 12 ms, 0 bytes sent, 840 received".
void printExchange(const QVCHTTPExchange& exchange) {
    std::string outcome = exchange.status ? std::to_string(*exchange.status) : "no answer";
    if (!exchange.status && !exchange.failure.empty()) {
        outcome += " (" + exchange.failure + ")";
    }
    std::cerr << "qvconsumer: " << exchange.method << ' ' << exchange.url << " -> " << outcome << " in "
              << exchange.elapsed.count() << " ms, " << exchange.bytesSent << " bytes sent, " << exchange.bytesReceived
              << " received\n";
}

std::int64_t environmentOf(const GlobalOptions& options) {
    if (options.environment == "simulation") {
        return QVCEnvironmentSimulation;
    }
    if (options.environment == "live") {
        return QVCEnvironmentLive;
    }
    throw Failure(ExitUsage, "unknown environment \"" + options.environment + "\" (use simulation or live)");
}

/// The manager for the company and facility of options; Failure(ExitUsage) when the platform refuses.
std::shared_ptr<QVConsumerManager> makeManager(const GlobalOptions& options, std::int64_t environment) {
    auto company = std::make_shared<QVCCompanyInfo>();
    company->companyID = options.companyID;
    std::string refusal;
    auto manager = QVConsumerManager::initWithAppID(
        options.appID.value_or("qvconsumer-cli"), options.appKey.value_or("simulation"), company, options.consumerID,
        environment, [&](bool, const std::shared_ptr<QVCErrorResponse>& error, std::exception_ptr) {
            refusal = error ? error->description() : "";
        });
    if (!manager) {
        throw Failure(ExitUsage, refusal.empty() ? "the platform refused the configuration" : refusal);
    }
    auto facility = std::make_shared<QVCFacilityInfo>();
    facility->facilityID = options.facilityID;
    manager->setFacilityInfo(facility);
    return manager;
}

/// The configuration the environment variables give, with the options on
/// top; Failure(ExitUsage) when the live environment cannot work with it.
QVCPlatformConfiguration configurationFor(const GlobalOptions& options, bool live) {
    auto configuration = QVCPlatformConfiguration::fromEnvironment();
    if (options.serviceURL) {
        configuration.serviceRootURL = *options.serviceURL;
    }
    if (options.timeoutMs) {
        configuration.totalTimeoutMs = *options.timeoutMs;
    }
    if (options.verbose) {
        configuration.trace = printExchange;
    }
    if (live) {
        if (configuration.serviceRootURL.empty()) {
            throw Failure(ExitUsage, std::string("the live environment needs --service-url or ") +
                                         QVCPlatformConfiguration::serviceURLVariable);
        }
        for (const auto& problem : configuration.problems) {
            throw Failure(ExitUsage, problem);
        }
    }
    return configuration;
}

}  // namespace

Session::Session(const GlobalOptions& options) : options_(options) {
    const std::int64_t environment = environmentOf(options);
    const bool live = environment == QVCEnvironmentLive;
    if (live && (!options.appID || !options.appKey)) {
        throw Failure(
            ExitUsage,
            "the live environment needs --app-id and --app-key (or QVCONSUMER_APP_ID and QVCONSUMER_APP_KEY)");
    }
    manager_ = makeManager(options, environment);
    const auto configuration = configurationFor(options, live);
    manager_->setPlatformConfiguration(configuration);
    waitLimit_ = waitLimit(configuration, live);

    if (options.simulationFile) {
        try {
            QVCFileText::read(*options.simulationFile);
        } catch (const QVCFileText::Unreadable& unreadable) {
            throw Failure(ExitUsage, std::string("simulation file ") + unreadable.what());
        }
        manager_->setSimulatePath(*options.simulationFile);
    } else if (!live && !manager_->simulatePath()) {
        throw Failure(ExitUsage,
                      "the simulation file QVConsumerSimulate.json was not found: pass --simulation-file or set "
                      "QVCONSUMER_RESOURCE_DIR");
    }
}

std::shared_ptr<QVCConsumerInfo> Session::authenticate(const std::string& userName) {
    const std::string what = "authenticate \"" + userName + "\"";
    auto [consumer, error, exception] = call<QVConsumerManager::ConsumerCompletion>(
        what, [&](auto completion) { manager_->authenticateConsumerWithUserName(userName, completion); });
    if (!consumer) {
        throw Failure(ExitServiceError, what + ": the service returned no consumer");
    }
    return consumer;
}

std::shared_ptr<QVCConsumerInfo> Session::signIn() {
    return options_.userName ? authenticate(*options_.userName) : nullptr;
}

void Session::checkEnding(const std::string& what, QVCCallEnding ending, const std::shared_ptr<QVCErrorResponse>& error,
                          const std::exception_ptr& exception) const {
    switch (ending) {
        case QVCCallEnding::Completed: return;
        case QVCCallEnding::TimedOut:
            throw Failure(ExitNoAnswer, what + ": no answer within " + std::to_string(waitLimit_.count()) + " ms");
        case QVCCallEnding::NoAnswer:
            // A reader that refused the answer on the transport's thread, or a
            // silent path: the path refused, an answer that is not what the
            // operation reads.
            check(what, exception, false);
            throw Failure(ExitServiceError, error->description());
        case QVCCallEnding::OnDeliveryThread: break;
    }
    throw Failure(ExitException, error->description());
}

void Session::check(const std::string& what, const std::exception_ptr& exception, bool) {
    if (exception) {
        throw Failure(ExitException, what + " raised: " + describeException(exception));
    }
}

void Session::check(const std::string& what, const std::shared_ptr<QVCErrorResponse>& error, bool errorsAreResults) {
    if (error && !errorsAreResults) {
        throw Failure(ExitServiceError, what + " failed: " + error->description());
    }
}

std::string describeException(const std::exception_ptr& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& caught) {
        return caught.what();
    } catch (...) {
        return "unknown exception";
    }
}
