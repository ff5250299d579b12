#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Present.h"
#include "Session.h"

/// A consumer profile given on the command line or as a JSON file.
struct ProfileOptions {
    std::optional<std::string> file;
    std::optional<std::string> userName;
    std::optional<std::string> firstName;
    std::optional<std::string> middleName;
    std::optional<std::string> lastName;
    std::optional<std::string> suffix;
    std::optional<std::string> email;
    std::optional<std::string> phone;
    std::optional<std::string> birthMonthDay;
    std::optional<std::string> line1;
    std::optional<std::string> city;
    std::optional<std::string> postalCode;
    std::optional<std::string> stateCode;
    std::optional<std::string> countryCode;
};

// Steps that several commands share.

/// Reads the consumer's loyalty balance; the manager keeps it for the offer rules check.
AwaitFor<QVConsumerManager::LoyaltyCompletion>::type::Values readLoyalty(Session& session);
/// The consumer's offers at the facility.
std::vector<std::shared_ptr<QVCOffer>> allOffers(Session& session);
/// Validates offerCode against basket: {offerCode, valid, amountOff, basket lines with their discounted prices}.
Presented validateBasket(Session& session, const std::string& offerCode, const QVConsumerManager::Products& basket);
/// Prints a validation as a basket table and a verdict line, each line after indent.
void printValidation(std::ostream& out, const Presented& validation, const std::string& indent = "");

// One function per subcommand; each returns the exit status or throws Failure.
int runMasterData(Session& session);
/// The user name from the argument, otherwise from --user.
int runAuthenticate(Session& session, const std::optional<std::string>& userName);
/// Refuses a profile without a user name, a first name or a last name.
int runSignUp(Session& session, const ProfileOptions& profile);
/// Starts from the --user consumer's profile as read, otherwise from a new
/// record; applies the options given; absent texts go out empty.
int runUpdateProfile(Session& session, const ProfileOptions& profile);
int runLoyalty(Session& session);
int runOffers(Session& session);
int runOffer(Session& session, const std::string& offerID);
int runOfferCode(Session& session, const std::string& offerCode);
int runRulesCheck(Session& session, const std::string& offerCode, const std::string& cartTotal,
                  std::optional<std::int64_t> productID);
int runValidate(Session& session, const std::string& offerCode, const std::vector<std::string>& items);
int runRedeem(Session& session, const std::string& offerCode, const std::string& amount,
              const std::string& referenceID);
int runPushToken(Session& session, const std::string& token);
int runDemo(Session& session);
