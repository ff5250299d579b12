// qvconsumer: the command-line tool over the QVConsumer library.
#include <CLI/CLI.hpp>

#include <charconv>
#include <functional>
#include <iostream>
#include <limits>

#include "Commands.h"
#include "QVConsumer/QVCPConstant.h"
#include "Session.h"
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

void addProfileOptions(CLI::App& command, ProfileOptions& profile) {
    command.add_option("--profile", profile.file, "JSON file holding the profile (as printed by --json)");
    command.add_option("--user-name", profile.userName, "user name");
    command.add_option("--first-name", profile.firstName, "first name");
    command.add_option("--middle-name", profile.middleName, "middle name");
    command.add_option("--last-name", profile.lastName, "last name");
    command.add_option("--suffix", profile.suffix, "name suffix");
    command.add_option("--email", profile.email, "e-mail address");
    command.add_option("--phone", profile.phone, "phone number");
    command.add_option("--birth-month-day", profile.birthMonthDay, "birth month and day, as the service writes it");
    command.add_option("--address", profile.line1, "street address");
    command.add_option("--city", profile.city, "city");
    command.add_option("--postal-code", profile.postalCode, "postal code");
    command.add_option("--state", profile.stateCode, "state code");
    command.add_option("--country", profile.countryCode, "country code");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"qvconsumer: the loyalty and offers service from the command line"};
    // At most one command; its absence is reported after parsing, so that an
    // unknown word is reported as such rather than as a missing command.
    app.require_subcommand(0, 1);
    app.fallthrough();  // global options may also follow the subcommand
    app.footer(
        "Exit status: 0 success, 1 the output could not be written, 2 usage or input error, 3 the service or "
        "transport reported an error, 4 the library raised an exception, 5 no answer came in time.");

    GlobalOptions options;
    app.add_option("--env", options.environment, "simulation (the shipped file answers) or live")
        ->check(CLI::IsMember({"simulation", "live"}))
        ->capture_default_str();
    app.add_option("--service-url", options.serviceURL, "service root URL for the live environment")
        ->envname("QVCONSUMER_SERVICE_URL");
    app.add_option("--app-id", options.appID, "application id (live)")->envname("QVCONSUMER_APP_ID");
    app.add_option("--app-key", options.appKey, "application key (live)")->envname("QVCONSUMER_APP_KEY");
    app.add_option("--company-id", options.companyID, "company id")->check(identifier)->capture_default_str();
    app.add_option("--facility-id", options.facilityID, "facility id")->check(identifier)->capture_default_str();
    app.add_option("--consumer-id", options.consumerID, "act for this consumer id");
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

    std::function<int(Session&)> command;
    auto add = [&](const char* name, const char* description) { return app.add_subcommand(name, description); };

    add("master-data", "the reference code lists")->callback([&] { command = runMasterData; });

    std::optional<std::string> userName;
    auto* authenticate = add("authenticate", "look a consumer up by user name");
    authenticate->add_option("user-name", userName, "user name (--user when left out)");
    authenticate->callback([&] { command = [&](Session& s) { return runAuthenticate(s, userName); }; });

    ProfileOptions signUpProfile;
    auto* signUp = add("sign-up", "register a new consumer");
    addProfileOptions(*signUp, signUpProfile);
    signUp->callback([&] { command = [&](Session& s) { return runSignUp(s, signUpProfile); }; });

    ProfileOptions updateProfile;
    auto* update = add("update-profile", "rewrite the consumer's profile");
    addProfileOptions(*update, updateProfile);
    update->callback([&] { command = [&](Session& s) { return runUpdateProfile(s, updateProfile); }; });

    add("loyalty", "the consumer's loyalty balance")->callback([&] { command = runLoyalty; });
    add("offers", "the consumer's offers at the facility")->callback([&] { command = runOffers; });

    std::string offerID;
    auto* offer = add("offer", "one offer by its id");
    offer->add_option("offer-id", offerID, "offer id")->required();
    offer->callback([&] { command = [&](Session& s) { return runOffer(s, offerID); }; });

    std::string offerCode;
    auto* byCode = add("offer-code", "one offer by the code a shopper types");
    byCode->add_option("code", offerCode, "offer code")->required();
    byCode->callback([&] { command = [&](Session& s) { return runOfferCode(s, offerCode); }; });

    std::string rulesCode;
    std::string cartTotal;
    std::optional<std::int64_t> productID;
    auto* rules = add("rules-check", "check an offer's rules locally against a cart total and a product");
    rules->add_option("code", rulesCode, "offer code")->required();
    rules->add_option("--cart-total", cartTotal, "purchase total")->required();
    rules->add_option("--product-id", productID, "product the offer is to apply to");
    rules->callback([&] { command = [&](Session& s) { return runRulesCheck(s, rulesCode, cartTotal, productID); }; });

    std::string validateCode;
    std::vector<std::string> items;
    auto* validate = add("validate", "what an offer code is worth against a basket");
    validate->add_option("code", validateCode, "offer code")->required();
    validate->add_option("--item", items, "basket item ID:PRICE[:QUANTITY] (repeat the option)")->required();
    validate->callback([&] { command = [&](Session& s) { return runValidate(s, validateCode, items); }; });

    std::string redeemCode;
    std::string amount;
    std::string reference;
    auto* redeem = add("redeem", "redeem an offer for a purchase");
    redeem->add_option("code", redeemCode, "offer code")->required();
    redeem->add_option("--amount", amount, "purchase amount")->required();
    redeem->add_option("--reference", reference, "the purchase's reference id")->required();
    redeem->callback([&] { command = [&](Session& s) { return runRedeem(s, redeemCode, amount, reference); }; });

    std::string token;
    auto* push = add("push-token", "register the device's push token");
    push->add_option("token", token, "device token")->required();
    push->callback([&] { command = [&](Session& s) { return runPushToken(s, token); }; });

    add("demo", "the whole shopper journey against the simulation file")->callback([&] { command = runDemo; });

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitSuccess : ExitUsage;
    }

    if (!command) {
        std::cerr << "qvconsumer: no command given\nRun with --help for more information.\n";
        return ExitUsage;
    }
    int status = ExitSuccess;
    try {
        Session session(options);
        status = command(session);
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
