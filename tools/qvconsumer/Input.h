#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Profile.h"
#include "QVConsumer/QVConsumerManager.h"
#include "Session.h"

/// What the command line gave the subcommand, each member bound by the rows
/// that take it, and what the subcommand's checks made of it.
struct Input {
    std::optional<std::string> userName;
    ProfileOptions profileOptions;
    std::string offerID;
    std::string code;
    std::string cartTotal;
    std::optional<std::int64_t> productID;
    std::vector<std::string> items;
    std::string amount;
    std::string reference;
    std::string token;
    bool live = false;

    // Made by the checks, before anything is sent.
    nlohmann::json profile;
    QVConsumerManager::Products basket;
    double amountValue = 0;
};

/// An amount (a price, a total) in decimal notation, 0 or more; context
/// follows the quoted text in the message that refuses it.
double parseAmount(const std::string& text, const std::string& what, const std::string& context = "");

/// "ID:PRICE[:QUANTITY]" as a basket product; quantity 1 when left out.
std::shared_ptr<QVCProduct> parseBasketItem(const std::string& item);

/// Refuses (Failure, ExitUsage) global options that cannot work, before a
/// session starts: a simulation file that is missing or not a valid one, a
/// live service URL that is not http(s)://HOST[...].
void checkGlobalOptions(const GlobalOptions& options);
