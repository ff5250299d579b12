#include "Steps.h"

#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCProduct.h"
#include "Table.h"

using Manager = QVConsumerManager;

std::shared_ptr<QVCMasterData> readMasterData(Session& session) {
    auto& manager = session.manager();
    auto [data, error, exception] = session.call<Manager::MasterDataCompletion>(
        "master-data", [&](auto completion) { manager.getMasterDataWithCompletionWithCompletion(completion); });
    return returned(data, "master-data", "reference lists");
}

QVCCompletionTraits<Manager::LoyaltyCompletion>::Arguments readLoyalty(Session& session) {
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

std::optional<std::string> redeem(Session& session, const std::string& offerCode, double amount,
                                  const std::string& referenceID) {
    auto& manager = session.manager();
    auto [location, error, exception] =
        session.call<Manager::RedemptionCompletion>("redeem \"" + offerCode + "\"", [&](auto completion) {
            manager.redeemOfferWithAmount(QVCJSON(amount), offerCode, QVCJSON(referenceID), completion);
        });
    return location;
}

bool registerPushToken(Session& session, const std::string& token) {
    auto& manager = session.manager();
    auto [success, error, exception] = session.call<Manager::PushCompletion>(
        "push-token", [&](auto completion) { manager.setPushDeviceToken(QVCJSON(token), completion); });
    return success;
}
