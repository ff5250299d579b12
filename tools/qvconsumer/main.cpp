// qvconsumer: the command-line tool over the QVConsumer library.
#include <CLI/CLI.hpp>

#include <charconv>
#include <iostream>
#include <limits>

#include "Commands.h"
#include "QVConsumer/QVCPConstant.h"
#include "Session.h"
#include "Usage.h"
#include "platform/QVCDependencyVersions.h"
#include "platform/QVCPlatformConfiguration.h"

namespace {

/// Refuses an id that is not a whole number from 0 to the largest signed
/// 64-bit integer; CLI11 alone would read a larger one as that largest value.
const CLI::Validator identifier(
    [](const std::string& text) -> std::string {
        std::int64_t value = 0;
        const char* end = text.data() + text.size();
        auto result = std::from_chars(text.data(), end, value);
        if (text.empty() || result.ec != std::errc() || result.ptr != end || value < 0) {
            return "must be a whole number from 0 to " + std::to_string(std::numeric_limits<std::int64_t>::max()) +
                   ", not \"" + text + "\"";
        }
        return {};
    },
    "ID");

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
    app.add_option("--env", options.environment, "simulation (the shipped file answers) or live")
        ->check(CLI::IsMember({"simulation", "live"}))
        ->capture_default_str();
    app.add_option("--service-url", options.serviceURL, "service root URL for the live environment")
        ->envname("QVCONSUMER_SERVICE_URL");
    app.add_option("--app-id", options.appID, "application id (live)")->envname("QVCONSUMER_APP_ID");
    app.add_option("--app-key", options.appKey, "application key (live)")->envname("QVCONSUMER_APP_KEY");
    app.add_option("--company-id", options.companyID, "company id")->check(identifier)->capture_default_str();
    app.add_option("--facility-id", options.facilityID, "facility id")->check(identifier)->capture_default_str();
    app.add_option("--consumer-id", options.consumerID, "act for this consumer id")->check(identifier);
    app.add_option("--user", options.userName, "authenticate this user name first and act for that consumer");
    app.add_option("--simulation-file", options.simulationFile, "simulation file to answer from");
    app.add_option("--timeout-ms", options.timeoutMs,
                   "time limit of one request attempt, in milliseconds (at most one day, 86400000)")
        ->check(CLI::Range(1L, QVCPlatformConfiguration::maxDurationMs));
    app.add_flag("--json", options.json, "print JSON only, for programs");
    app.add_flag("--verbose", options.verbose,
                 "print each HTTP exchange to stderr (method, URL, status, time, bytes; never the app key)");
    app.set_version_flag(
        "--version",
        [] {
            return std::string(QVConsumerVersionString) + "\nlibcurl " + QVCDependencyVersions::libcurl() +
                   "\nsimdjson " + QVCDependencyVersions::simdjson();
        },
        "print the library's version and those of libcurl and simdjson it runs on");
}

/// Runs subcommand; a failure ends it with a one-line message on stderr and its exit status.
int execute(const Subcommand& subcommand, const GlobalOptions& options, Input& input) {
    int status = ExitSuccess;
    try {
        Session session(options);
        status = perform(subcommand, session, input);
    } catch (const Failure& failure) {
        std::cerr << "qvconsumer: " << failure.what() << '\n';
        status = failure.status();
    } catch (const std::exception& error) {
        std::cerr << "qvconsumer: " << error.what() << '\n';
        status = ExitException;
    }
    // Output lost to a full disk or a closed file must not pass for success.
    if (!std::cout.flush()) {
        std::cerr << "qvconsumer: the output could not be written\n";
        return status == ExitSuccess ? ExitOutput : status;
    }
    return status;
}

/// help [COMMAND]: the tool's help, or one command's; Failure for an unknown command.
void printHelp(const CLI::App& app, const std::optional<std::string>& topic) {
    if (!topic) {
        // app.help() would describe the help command itself, the one chosen.
        std::cout << app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal);
        return;
    }
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (command->get_name() == *topic) {
            std::cout << command->help(app.get_name());
            return;
        }
    }
    std::vector<std::string> names;
    for (const auto& subcommand : subcommands()) {
        names.push_back(subcommand.name);
    }
    const std::string meant = closestTo(*topic, names);
    throw Failure(ExitUsage,
                  "help: unknown command \"" + *topic + "\"" +
                      (meant.empty() ? " (qvconsumer help lists them)" : ". Did you mean \"" + meant + "\"?"));
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"qvconsumer: the loyalty and offers service from the command line", "qvconsumer"};
    // At most one command; its absence is reported after parsing, so that an
    // unknown word is reported as such rather than as a missing command.
    app.require_subcommand(0, 1);
    app.fallthrough();  // global options may also follow the subcommand
    app.footer(
        "Run 'qvconsumer help COMMAND' for a command's arguments and options.\n"
        "Exit status: 0 success, 1 the output could not be written, 2 usage or input error, 3 the service or "
        "transport reported an error, 4 the library raised an exception, 5 no answer came in time.");
    GlobalOptions options;
    addGlobalOptions(app, options);

    std::optional<std::string> helpTopic;
    bool helpChosen = false;
    auto* help = app.add_subcommand("help", "show the commands, or one command's arguments and options");
    help->add_option("command", helpTopic, "the command to describe");
    help->callback([&helpChosen] { helpChosen = true; });

    Input input;
    const Subcommand* chosen = nullptr;
    for (const auto& subcommand : subcommands()) {
        auto* command = app.add_subcommand(subcommand.name, subcommand.help);
        if (subcommand.declare) {
            subcommand.declare(*command, input);
        }
        command->callback([&chosen, &subcommand] { chosen = &subcommand; });
    }
    try {
        app.parse(argc, argv);
        if (helpChosen) {
            printHelp(app, helpTopic);
            return ExitSuccess;
        }
        if (!chosen) {
            throw Failure(ExitUsage, "no command given (qvconsumer help lists them)");
        }
        checkGlobalOptions(options);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);  // --help and --version
        }
        std::cerr << "qvconsumer: " << usageError(app, error) << '\n';
        return ExitUsage;
    } catch (const Failure& failure) {
        std::cerr << "qvconsumer: " << failure.what() << '\n';
        return failure.status();
    }
    return execute(*chosen, options, input);
}
