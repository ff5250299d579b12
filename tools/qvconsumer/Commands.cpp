#include "Commands.h"

#include <CLI/CLI.hpp>

#include <iostream>

#include "AnswerMessage.h"
#include "Demo.h"
#include "Profile.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCPersonalInfo.h"
#include "QVConsumer/QVCProduct.h"
#include "Steps.h"

namespace {

using Manager = QVConsumerManager;

// Checks of the input, before anything is sent.

/// The profile from the file and the options; refuses one that cannot be applied.
void checkProfile(Input& input) {
    input.profile = profileFrom(input.profileOptions);
    QVCConsumerInfo scratch;
    applyProfile(scratch, input.profile, profileSource(input.profileOptions));
}

void checkCartTotal(Input& input) {
    parseAmount(input.cartTotal, "cart total");
}

void checkBasket(Input& input) {
    for (const auto& item : input.items) {
        input.basket.push_back(parseBasketItem(item));
    }
}

void checkAmount(Input& input) {
    input.amountValue = parseAmount(input.amount, "amount");
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

// The calls and their presentations.

Output fields(Presented presented) {
    return {std::move(presented), printFields};
}

Output consumerOutput(const QVCConsumerInfo& consumer) {
    return fields(presentConsumer(consumer));
}

Output offerOutput(const QVCOffer& offer) {
    return {presentOffer(offer), printOffer};
}

std::shared_ptr<QVCOffer> offerByCode(Session& session, const std::string& code) {
    auto& manager = session.manager();
    const std::string what = "offer-code \"" + code + "\"";
    auto [offer, error, exception] = session.call<Manager::OfferCompletion>(
        what, [&](auto completion) { manager.getOfferWithOfferCode(code, completion); });
    return returned(offer, what, "offer");
}

/// Sends profile as a sign-up or as an update; the consumer the service answers with.
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
    return returned(consumer, what, "consumer");
}

std::optional<Output> runMasterData(Context& context) {
    return Output{presentMasterData(*readMasterData(context.session)), printMasterData};
}

/// The user name from the argument, otherwise from --user.
std::optional<Output> runAuthenticate(Context& context) {
    const auto name = context.input.userName ? context.input.userName : context.session.options().userName;
    if (!name) {
        throw Failure(ExitUsage, "authenticate needs a user name: authenticate USER, or --user USER");
    }
    return consumerOutput(*context.session.authenticate(*name));
}

std::optional<Output> runSignUp(Context& context) {
    auto consumer = std::make_shared<QVCConsumerInfo>();
    applyProfile(*consumer, context.input.profile, profileSource(context.input.profileOptions));
    requireNames(*consumer);
    return consumerOutput(*sendProfile(context.session, "sign-up", consumer, true));
}

/// Starts from the --user consumer's profile as read, otherwise from a new
/// record; applies the options given; absent texts go out empty.
std::optional<Output> runUpdateProfile(Context& context) {
    auto consumer = context.signedIn ? context.signedIn : std::make_shared<QVCConsumerInfo>();
    applyProfile(*consumer, context.input.profile, profileSource(context.input.profileOptions));
    fillAbsentValues(*consumer);
    return consumerOutput(*sendProfile(context.session, "update-profile", consumer, false));
}

std::optional<Output> runLoyalty(Context& context) {
    auto [points, description, error, exception] = readLoyalty(context.session);
    return fields({{"points", points}, {"status", presentText(description)}});
}

std::optional<Output> runOffers(Context& context) {
    Presented presented = Presented::array();
    for (const auto& offer : allOffers(context.session)) {
        presented.push_back(presentOffer(*offer));
    }
    return Output{presented, [](std::ostream& out, const Presented& offers) { printOfferTable(out, offers); }};
}

std::optional<Output> runOffer(Context& context) {
    auto& manager = context.session.manager();
    const std::string& offerID = context.input.offerID;
    const std::string what = "offer \"" + offerID + "\"";
    auto [offer, error, exception] = context.session.call<Manager::OfferCompletion>(
        what, [&](auto completion) { manager.getOfferDetailsWithOfferID(QVCJSON(offerID), completion); });
    return offerOutput(*returned(offer, what, "offer"));
}

std::optional<Output> runOfferCode(Context& context) {
    return offerOutput(*offerByCode(context.session, context.input.code));
}

std::optional<Output> runRulesCheck(Context& context) {
    const Input& input = context.input;
    readLoyalty(context.session);
    auto offer = offerByCode(context.session, input.code);
    std::shared_ptr<QVCProduct> product;
    if (input.productID) {
        product = std::make_shared<QVCProduct>();
        product->productId = *input.productID;
    }
    auto& manager = context.session.manager();
    auto [passed, error] = context.session.call<Manager::RulesCheckCompletion>(
        "rules-check \"" + input.code + "\"",
        [&](auto completion) { manager.offerRulesCheck(offer, input.cartTotal, product, completion); }, true);
    std::string reason = error && !error->errorMessages().empty() ? error->errorMessages().front() : "";
    return fields(
        {{"offerCode", input.code}, {"passed", passed}, {"reason", passed ? Presented() : Presented(reason)}});
}

std::optional<Output> runValidate(Context& context) {
    readLoyalty(context.session);
    return Output{validateBasket(context.session, context.input.code, context.input.basket),
                  [](std::ostream& out, const Presented& validation) { printValidation(out, validation); }};
}

std::optional<Output> runRedeem(Context& context) {
    const Input& input = context.input;
    auto location = redeem(context.session, input.code, input.amountValue, input.reference);
    return fields({{"offerCode", input.code}, {"location", presentText(location)}});
}

std::optional<Output> runPushToken(Context& context) {
    const bool registered = registerPushToken(context.session, context.input.token);
    return fields({{"registered", registered}, {"consumerID", presentID(context.session.manager().consumerID())}});
}

std::optional<Output> runDemo(Context& context) {
    if (context.input.live) {
        tellJourneyLive(context.session);
    } else {
        tellJourney(context.session, context.session.manager().simulatePath().value_or("the live service"));
    }
    return std::nullopt;
}

// Arguments and options that several subcommands take.

void declareCode(CLI::App& command, Input& input) {
    command.add_option("code", input.code, "offer code")->required();
}

void declareProfile(CLI::App& command, Input& input) {
    addProfileOptions(command, input.profileOptions);
}

}  // namespace

const std::vector<Subcommand>& subcommands() {
    using App = CLI::App;
    static const std::vector<Subcommand> all = {
        {"master-data", "the reference code lists", nullptr, nullptr, ForConsumer::IfGiven, runMasterData},
        {"authenticate", "look a consumer up by user name",
         [](App& command, Input& input) {
             command.add_option("user-name", input.userName, "user name (--user when left out)");
         },
         nullptr, ForConsumer::Nobody, runAuthenticate},
        {"sign-up", "register a new consumer", declareProfile, checkProfile, ForConsumer::Nobody, runSignUp},
        {"update-profile", "rewrite the consumer's profile", declareProfile, checkProfile, ForConsumer::Needed,
         runUpdateProfile},
        {"loyalty", "the consumer's loyalty balance", nullptr, nullptr, ForConsumer::Needed, runLoyalty},
        {"offers", "the consumer's offers at the facility", nullptr, nullptr, ForConsumer::Needed, runOffers},
        {"offer", "one offer by its id",
         [](App& command, Input& input) { command.add_option("offer-id", input.offerID, "offer id")->required(); },
         nullptr, ForConsumer::Needed, runOffer},
        {"offer-code", "one offer by the code a shopper types", declareCode, nullptr, ForConsumer::Needed,
         runOfferCode},
        {"rules-check", "check an offer's rules locally against a cart total and a product",
         [](App& command, Input& input) {
             declareCode(command, input);
             command.add_option("--cart-total", input.cartTotal, "purchase total")->required();
             command.add_option("--product-id", input.productID, "product the offer is to apply to");
         },
         checkCartTotal, ForConsumer::Needed, runRulesCheck},
        {"validate", "what an offer code is worth against a basket",
         [](App& command, Input& input) {
             declareCode(command, input);
             command.add_option("--item", input.items, "basket item ID:PRICE[:QUANTITY] (repeat the option)")
                 ->required();
         },
         checkBasket, ForConsumer::Needed, runValidate},
        {"redeem", "redeem an offer for a purchase",
         [](App& command, Input& input) {
             declareCode(command, input);
             command.add_option("--amount", input.amount, "purchase amount")->required();
             command.add_option("--reference", input.reference, "the purchase's reference id")->required();
         },
         checkAmount, ForConsumer::Needed, runRedeem},
        {"push-token", "register the device's push token",
         [](App& command, Input& input) { command.add_option("token", input.token, "device token")->required(); },
         nullptr, ForConsumer::Needed, runPushToken},
        {"demo", "the whole shopper journey against the simulation file",
         [](App& command, Input& input) {
             command.add_flag("--live", input.live,
                              "start a reference service in-process, seeded from the simulation file, and run "
                              "the journey against it over HTTP");
         },
         nullptr, ForConsumer::Nobody, runDemo},
    };
    return all;
}

namespace {

/// Refuses a command that acts for a consumer when none is given: the
/// request would carry no consumer id.
void requireConsumer(const Subcommand& subcommand, const GlobalOptions& options) {
    if (subcommand.consumer == ForConsumer::Needed && !options.userName && !options.consumerID) {
        throw Failure(ExitUsage,
                      std::string(subcommand.name) + " acts for a consumer: give --user NAME or --consumer-id ID");
    }
}

/// Runs subcommand; a service failure whose answer carried a message the
/// library left out (a refused authentication) gets that message added.
std::optional<Output> runWithAnswerMessages(const Subcommand& subcommand, Session& session, const Input& input) {
    auto& manager = session.manager();
    auto messages = std::make_shared<AnswerMessage>(manager.webServiceHandler());
    manager.setWebServiceHandler(messages);
    try {
        Context context{session, input, subcommand.consumer != ForConsumer::Nobody ? session.signIn() : nullptr};
        return subcommand.run(context);
    } catch (const Failure& failure) {
        const auto message = messages->last();
        const std::string text = failure.what();
        if (failure.status() != ExitServiceError || !message || text.find(*message) != std::string::npos) {
            throw;
        }
        throw Failure(ExitServiceError, text + " (" + *message + ")");
    }
}

}  // namespace

int perform(const Subcommand& subcommand, Session& session, Input& input) {
    if (subcommand.check) {
        subcommand.check(input);
    }
    requireConsumer(subcommand, session.options());
    if (auto output = runWithAnswerMessages(subcommand, session, input)) {
        if (session.options().json) {
            std::cout << output->presented.dump(2) << '\n';
        } else {
            output->print(std::cout, output->presented);
        }
    }
    return ExitSuccess;
}
