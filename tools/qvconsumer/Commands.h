#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

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

// One function per subcommand; each returns the exit status or throws Failure.
int runMasterData(Session& session);
int runAuthenticate(Session& session, const std::string& userName);
int runSignUp(Session& session, const ProfileOptions& profile);
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
