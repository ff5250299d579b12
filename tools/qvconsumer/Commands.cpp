#include "Commands.h"

#include <charconv>
#include <cmath>
#include <iostream>
#include <sstream>

#include "Present.h"
#include "Profile.h"
#include "QVConsumer/OfferDetails.h"
#include "QVConsumer/OfferType.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCPersonalInfo.h"
#include "QVConsumer/QVCProduct.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "Table.h"
#include "platform/QVCFileText.h"

namespace {

using Manager = QVConsumerManager;

/// Prints the presentation as JSON (--json) or in its readable form.
void emit(const Session& session, const Presented& presented, const std::function<void()>& readable) {
    if (session.options().json) {
        std::cout << presented.dump(2) << '\n';
    } else {
        readable();
    }
}

/// An amount (a price, a total) in decimal notation, 0 or more; context
/// follows the quoted text in the message that refuses it.
double parseAmount(const std::string& text, const std::string& what, const std::string& context = "") {
    double value = 0;
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, value);
    const std::string quoted = what + " \"" + text + "\"" + context;
    if (text.empty() || result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
        throw Failure(ExitUsage, quoted + " is not a number");
    }
    if (value < 0) {
        throw Failure(ExitUsage, quoted + " is negative");
    }
    return value;
}

std::int64_t parseInteger(const std::string& text, const std::string& what) {
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, value);
    if (text.empty() || result.ec != std::errc() || result.ptr != end) {
        throw Failure(ExitUsage, what + " \"" + text + "\" is not an integer");
    }
    return value;
}

/// "ID:PRICE[:QUANTITY]" as a basket product; quantity 1 when left out.
std::shared_ptr<QVCProduct> parseBasketItem(const std::string& item) {
    std::vector<std::string> parts;
    std::stringstream stream(item);
    for (std::string part; std::getline(stream, part, ':');) {
        parts.push_back(part);
    }
    if (parts.size() < 2 || parts.size() > 3) {
        throw Failure(ExitUsage, "basket item \"" + item + "\" is not ID:PRICE[:QUANTITY]");
    }
    auto product = std::make_shared<QVCProduct>();
    product->productId = parseInteger(parts[0], "product id in basket item \"" + item + "\":");
    parseAmount(parts[1], "price", " in basket item \"" + item + "\"");
    product->price = parts[1];
    product->quantity = parts.size() == 3 ? parseInteger(parts[2], "quantity in basket item \"" + item + "\":") : 1;
    if (product->quantity < 1) {
        throw Failure(ExitUsage, "quantity in basket item \"" + item + "\" must be at least 1");
    }
    return product;
}

nlohmann::json readProfileFile(const std::string& path) {
    std::string text;
    try {
        text = QVCFileText::read(path);
    } catch (const QVCFileText::Unreadable& unreadable) {
        throw Failure(ExitUsage, std::string("profile file ") + unreadable.what());
    }
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error& error) {
        throw Failure(ExitUsage, "profile file \"" + path + "\" is not valid JSON: " + error.what());
    }
}

/// The profile options as a profile object: the file's members, then the options given.
nlohmann::json profileFrom(const ProfileOptions& options) {
    nlohmann::json profile = options.file ? readProfileFile(*options.file) : nlohmann::json::object();
    const std::pair<const char*, const std::optional<std::string>*> given[] = {
        {"userName", &options.userName},
        {"firstName", &options.firstName},
        {"middleName", &options.middleName},
        {"lastName", &options.lastName},
        {"suffix", &options.suffix},
        {"email", &options.email},
        {"phone", &options.phone},
        {"birthMonthDay", &options.birthMonthDay},
        {"addressLine1", &options.line1},
        {"city", &options.city},
        {"postalCode", &options.postalCode},
        {"stateCode", &options.stateCode},
        {"countryCode", &options.countryCode},
    };
    if (profile.is_object()) {
        for (const auto& [key, value] : given) {
            if (*value) {
                profile[key] = **value;
            }
        }
    }
    return profile;
}

/// Sets the profile options on consumer.
void applyProfileOptions(QVCConsumerInfo& consumer, const ProfileOptions& options, const nlohmann::json& profile) {
    applyProfile(consumer, profile, options.file ? *options.file : std::string("the options"));
}

/// Refuses a new consumer without a user name, a first name or a last name.
void requireNames(const QVCConsumerInfo& consumer) {
    const std::pair<const char*, std::optional<std::string>> names[] = {
        {"a user name (--user-name)", consumer.personalInfo ? consumer.personalInfo->consumerName : std::nullopt},
        {"a first name (--first-name)", consumer.firstName},
        {"a last name (--last-name)", consumer.lastName},
    };
    std::string missing;
    for (const auto& [name, value] : names) {
        if (!value || value->empty()) {
            missing += (missing.empty() ? "" : ", ") + std::string(name);
        }
    }
    if (!missing.empty()) {
        throw Failure(ExitUsage, "sign-up needs " + missing);
    }
}

void printConsumer(const Session& session, const QVCConsumerInfo& consumer) {
    auto presented = presentConsumer(consumer);
    emit(session, presented, [&] { printFields(std::cout, presented); });
}

std::shared_ptr<QVCOffer> offerByCode(Session& session, const std::string& code) {
    auto& manager = session.manager();
    auto [offer, error, exception] = session.call<Manager::OfferCompletion>(
        "offer-code \"" + code + "\"", [&](auto completion) { manager.getOfferWithOfferCode(code, completion); });
    if (!offer) {
        throw Failure(ExitServiceError, "offer-code \"" + code + "\": the service returned no offer");
    }
    return offer;
}

std::shared_ptr<QVCConsumerInfo> sendProfile(Session& session, const std::string& what,
                                             const std::shared_ptr<QVCConsumerInfo>& profile, bool signUp) {
    auto& manager = session.manager();
    auto [consumer, error, exception] = session.call<Manager::ConsumerCompletion>(what, [&](auto completion) {
        if (signUp) {
            manager.signUpNewUserWithDetails(profile, completion);
        } else {
            manager.updateConsumerProfile(profile, completion);
        }
    });
    if (!consumer) {
        throw Failure(ExitServiceError, what + ": the service returned no consumer");
    }
    return consumer;
}

}  // namespace

AwaitFor<Manager::LoyaltyCompletion>::type::Values readLoyalty(Session& session) {
    auto& manager = session.manager();
    return session.call<Manager::LoyaltyCompletion>("loyalty",
                                                    [&](auto completion) { manager.retrieveLoyaltyInfo(completion); });
}

std::vector<std::shared_ptr<QVCOffer>> allOffers(Session& session) {
    auto& manager = session.manager();
    auto [offers, error, exception] = session.call<Manager::OffersCompletion>(
        "offers", [&](auto completion) { manager.getAllOffersWithCompletionHandler(completion); });
    return offers.value_or(std::vector<std::shared_ptr<QVCOffer>>{});
}

Presented validateBasket(Session& session, const std::string& offerCode, const Manager::Products& basket) {
    auto& manager = session.manager();
    auto [valid, products, amountOff, error, exception] = session.call<Manager::ValidationCompletion>(
        "validate \"" + offerCode + "\"",
        [&](auto completion) { manager.validateOfferWithOfferCode(offerCode, basket, completion); });
    // An amount offer hands the basket's own products back: those have no discounted price.
    Presented lines = Presented::array();
    const auto& priced = products.value_or(Manager::Products{});
    for (std::size_t i = 0; i < basket.size(); ++i) {
        Presented line = presentProduct(*basket[i]);
        line["discountedPrice"] =
            i < priced.size() && priced[i] != basket[i] ? presentText(priced[i]->price) : Presented(nullptr);
        lines.push_back(std::move(line));
    }
    return {{"offerCode", offerCode}, {"valid", valid}, {"amountOff", presentText(amountOff)}, {"basket", lines}};
}

void printValidation(std::ostream& out, const Presented& validation, const std::string& indent) {
    Table table({{"PRODUCT", Table::Align::Right},
                 {"QTY", Table::Align::Right},
                 {"PRICE", Table::Align::Right},
                 {"DISCOUNTED", Table::Align::Right}});
    for (const auto& line : validation["basket"]) {
        table.addRow(
            {shown(line["productId"]), shown(line["quantity"]), shown(line["price"]), shown(line["discountedPrice"])});
    }
    table.print(out, indent);
    out << indent << "valid: " << shown(validation["valid"]);
    if (!validation["amountOff"].is_null()) {
        out << ", amount off: " << shown(validation["amountOff"]);
    }
    out << '\n';
}

int runMasterData(Session& session) {
    session.signIn();
    auto& manager = session.manager();
    auto [data, error, exception] = session.call<Manager::MasterDataCompletion>(
        "master-data", [&](auto completion) { manager.getMasterDataWithCompletionWithCompletion(completion); });
    if (!data) {
        throw Failure(ExitServiceError, "master-data: the service returned no reference lists");
    }
    auto presented = presentMasterData(*data);
    emit(session, presented, [&] { printMasterData(std::cout, presented); });
    return ExitSuccess;
}

int runAuthenticate(Session& session, const std::optional<std::string>& userName) {
    const auto name = userName ? userName : session.options().userName;
    if (!name) {
        throw Failure(ExitUsage, "authenticate needs a user name: authenticate USER, or --user USER");
    }
    printConsumer(session, *session.authenticate(*name));
    return ExitSuccess;
}

int runSignUp(Session& session, const ProfileOptions& options) {
    auto consumer = std::make_shared<QVCConsumerInfo>();
    applyProfileOptions(*consumer, options, profileFrom(options));
    requireNames(*consumer);
    printConsumer(session, *sendProfile(session, "sign-up", consumer, true));
    return ExitSuccess;
}

int runUpdateProfile(Session& session, const ProfileOptions& options) {
    const auto profile = profileFrom(options);
    QVCConsumerInfo scratch;  // refuses bad options before anything is sent
    applyProfileOptions(scratch, options, profile);
    // The consumer's profile as the service returns it, or a new record.
    auto consumer = session.signIn();
    if (!consumer) {
        consumer = std::make_shared<QVCConsumerInfo>();
    }
    applyProfileOptions(*consumer, options, profile);
    fillAbsentValues(*consumer);
    printConsumer(session, *sendProfile(session, "update-profile", consumer, false));
    return ExitSuccess;
}

int runLoyalty(Session& session) {
    session.signIn();
    auto [points, description, error, exception] = readLoyalty(session);
    Presented presented = {{"points", points}, {"status", presentText(description)}};
    emit(session, presented, [&] { printFields(std::cout, presented); });
    return ExitSuccess;
}

int runOffers(Session& session) {
    session.signIn();
    Presented presented = Presented::array();
    for (const auto& offer : allOffers(session)) {
        presented.push_back(presentOffer(*offer));
    }
    emit(session, presented, [&] { printOfferTable(std::cout, presented); });
    return ExitSuccess;
}

int runOffer(Session& session, const std::string& offerID) {
    session.signIn();
    auto& manager = session.manager();
    auto [offer, error, exception] = session.call<Manager::OfferCompletion>(
        "offer \"" + offerID + "\"",
        [&](auto completion) { manager.getOfferDetailsWithOfferID(QVCJSON(offerID), completion); });
    if (!offer) {
        throw Failure(ExitServiceError, "offer \"" + offerID + "\": the service returned no offer");
    }
    auto presented = presentOffer(*offer);
    emit(session, presented, [&] { printOffer(std::cout, presented); });
    return ExitSuccess;
}

int runOfferCode(Session& session, const std::string& offerCode) {
    session.signIn();
    auto presented = presentOffer(*offerByCode(session, offerCode));
    emit(session, presented, [&] { printOffer(std::cout, presented); });
    return ExitSuccess;
}

int runRulesCheck(Session& session, const std::string& offerCode, const std::string& cartTotal,
                  std::optional<std::int64_t> productID) {
    parseAmount(cartTotal, "cart total");
    session.signIn();
    readLoyalty(session);
    auto offer = offerByCode(session, offerCode);
    std::shared_ptr<QVCProduct> product;
    if (productID) {
        product = std::make_shared<QVCProduct>();
        product->productId = *productID;
    }
    auto& manager = session.manager();
    auto [passed, error] = session.call<Manager::RulesCheckCompletion>(
        "rules-check \"" + offerCode + "\"",
        [&](auto completion) { manager.offerRulesCheck(offer, cartTotal, product, completion); }, true);
    std::string reason = error && !error->errorMessages().empty() ? error->errorMessages().front() : "";
    Presented presented = {
        {"offerCode", offerCode}, {"passed", passed}, {"reason", passed ? Presented() : Presented(reason)}};
    emit(session, presented, [&] { printFields(std::cout, presented); });
    return ExitSuccess;
}

int runValidate(Session& session, const std::string& offerCode, const std::vector<std::string>& items) {
    Manager::Products basket;
    for (const auto& item : items) {
        basket.push_back(parseBasketItem(item));
    }
    session.signIn();
    readLoyalty(session);
    auto presented = validateBasket(session, offerCode, basket);
    emit(session, presented, [&] { printValidation(std::cout, presented); });
    return ExitSuccess;
}

int runRedeem(Session& session, const std::string& offerCode, const std::string& amount,
              const std::string& referenceID) {
    const double value = parseAmount(amount, "amount");
    session.signIn();
    auto& manager = session.manager();
    auto [location, error, exception] =
        session.call<Manager::RedemptionCompletion>("redeem \"" + offerCode + "\"", [&](auto completion) {
            manager.redeemOfferWithAmount(QVCJSON(value), offerCode, QVCJSON(referenceID), completion);
        });
    Presented presented = {{"offerCode", offerCode}, {"location", presentText(location)}};
    emit(session, presented, [&] { printFields(std::cout, presented); });
    return ExitSuccess;
}

int runPushToken(Session& session, const std::string& token) {
    session.signIn();
    auto& manager = session.manager();
    auto [success, error, exception] = session.call<Manager::PushCompletion>(
        "push-token", [&](auto completion) { manager.setPushDeviceToken(QVCJSON(token), completion); });
    Presented presented = {{"registered", success}, {"consumerID", presentText(manager.consumerID())}};
    emit(session, presented, [&] { printFields(std::cout, presented); });
    return ExitSuccess;
}
