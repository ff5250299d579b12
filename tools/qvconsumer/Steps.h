#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Present.h"
#include "Session.h"

// Calls that several subcommands and the demo share. Each names itself in
// the Failure that ends the command.

/// The reference lists.
std::shared_ptr<QVCMasterData> readMasterData(Session& session);
/// Reads the consumer's loyalty balance; the manager keeps it for the offer rules check.
QVCCompletionTraits<QVConsumerManager::LoyaltyCompletion>::Arguments readLoyalty(Session& session);
/// The consumer's offers at the facility.
std::vector<std::shared_ptr<QVCOffer>> allOffers(Session& session);
/// Validates offerCode against basket: {offerCode, valid, amountOff, basket lines with their discounted prices}.
Presented validateBasket(Session& session, const std::string& offerCode, const QVConsumerManager::Products& basket);
/// Prints a validation as a basket table and a verdict line, each line after indent.
void printValidation(std::ostream& out, const Presented& validation, const std::string& indent = "");
/// Redeems offerCode for a purchase; the redemption's location.
std::optional<std::string> redeem(Session& session, const std::string& offerCode, double amount,
                                  const std::string& referenceID);
/// Registers the device's push token; whether the service took it.
bool registerPushToken(Session& session, const std::string& token);
