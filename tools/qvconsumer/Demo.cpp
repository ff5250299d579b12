// qvconsumer demo: one shopper's journey told step by step.
#include <iostream>

#include "Demo.h"
#include "Present.h"
#include "QVConsumer/OfferDetails.h"
#include "QVConsumer/OfferType.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "Steps.h"

namespace {

using Manager = QVConsumerManager;

const char* const demoUser = "jdoe";

void step(int number, const std::string& title) {
    std::cout << '\n' << number << ". " << title << '\n';
}

std::string typeOf(const QVCOffer& offer) {
    return offer.offerDetails && offer.offerDetails->type ? shown(offer.offerDetails->type->typeDescription) : "-";
}

bool isPercentOff(const QVCOffer& offer) {
    return typeOf(offer) == "PERCENT OFF";
}

/// A basket of two lines: the products the offer names when it names some, so
/// that its product rule holds, otherwise two catalogue products.
Manager::Products basketFor(const QVCOffer& offer) {
    std::vector<std::int64_t> ids = {101, 102};
    const auto& named = offer.offerDetails ? offer.offerDetails->products : std::nullopt;
    if (named && !named->empty()) {
        ids = {named->front()->productId, named->back()->productId};
    }
    const std::pair<const char*, std::int64_t> lines[] = {{"24.50", 2}, {"8.00", 1}};
    Manager::Products basket;
    for (std::size_t i = 0; i < 2; ++i) {
        auto product = std::make_shared<QVCProduct>();
        product->productId = ids[i];
        product->price = lines[i].first;
        product->quantity = lines[i].second;
        basket.push_back(product);
    }
    return basket;
}

/// Prints the offers as a table; the first percentage offer and the first
/// other offer, which the journey tries.
std::pair<std::shared_ptr<QVCOffer>, std::shared_ptr<QVCOffer>> listOffers(Session& session) {
    Presented listed = Presented::array();
    std::shared_ptr<QVCOffer> percentOffer;
    std::shared_ptr<QVCOffer> amountOffer;
    for (const auto& offer : allOffers(session)) {
        listed.push_back(presentOffer(*offer));
        auto& pick = isPercentOff(*offer) ? percentOffer : amountOffer;
        if (!pick) {
            pick = offer;
        }
    }
    printOfferTable(std::cout, listed, "   ");
    if (!percentOffer || !amountOffer) {
        throw Failure(ExitServiceError, "demo: the offers hold no percentage and amount offer to try");
    }
    return {percentOffer, amountOffer};
}

}  // namespace

void tellJourney(Session& session, const std::string& answeredBy) {
    auto& manager = session.manager();
    std::cout << "QVConsumer demo: one shopper's journey, answered by " << answeredBy << '\n';

    step(1, "Reference lists for the sign-up form");
    auto data = readMasterData(session);
    std::cout << "   " << data->ageRangeTypes.size() << " age ranges, " << data->genderTypes.size() << " genders, "
              << data->maritalStatusTypes.size() << " marital statuses, " << data->incomeRangeTypes.size()
              << " income ranges, " << data->educationTypes.size() << " education levels, "
              << data->occupationTypes.size() << " occupations,\n   " << data->states.size() << " states, "
              << data->country.size() << " countries, " << data->merchantTypes.size() << " merchant types\n";

    step(2, std::string("Sign in as \"") + demoUser + "\"");
    auto consumer = session.authenticate(demoUser);
    std::cout << "   " << shown(consumer->firstName) << ' ' << shown(consumer->lastName) << ", consumer "
              << manager.consumerID().value_or("-") << '\n';

    step(3, "Loyalty balance");
    auto [points, status, loyaltyError, loyaltyException] = readLoyalty(session);
    std::cout << "   " << points << " points, status " << shown(status) << '\n';

    step(4, "Offers at facility " + std::to_string(manager.facilityInfo()->facilityID));
    auto [percentOffer, amountOffer] = listOffers(session);

    int number = 5;
    for (const auto& offer : {percentOffer, amountOffer}) {
        const std::string code = shown(offer->offerCode);
        step(number++, "Validate " + code + " (" + typeOf(*offer) + ") against a basket");
        printValidation(std::cout, validateBasket(session, code, basketFor(*offer)), "   ");
    }

    const std::string code = shown(percentOffer->offerCode);
    step(number++, "Redeem " + code + " for a purchase of 57.00, reference DEMO-0001");
    std::cout << "   redemption recorded at " << shown(redeem(session, code, 57.0, "DEMO-0001")) << '\n';

    step(number, "Register this device for push notifications");
    const bool registered = registerPushToken(session, "demo-device-token");
    std::cout << "   " << (registered ? "registered" : "not registered") << " for consumer "
              << manager.consumerID().value_or("-") << '\n';
}
