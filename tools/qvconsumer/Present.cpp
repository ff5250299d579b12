#include "Present.h"

#include <charconv>
#include <functional>

#include "QVConsumer/OfferDetails.h"
#include "QVConsumer/OfferRules.h"
#include "QVConsumer/OfferType.h"
#include "QVConsumer/QVCCountry.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCMasterType.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCProduct.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "QVConsumer/QVCState.h"
#include "QVConsumer/QVCStateID.h"
#include "Table.h"

namespace {

template <typename Record>
Presented presentCodeList(const std::vector<std::shared_ptr<Record>>& list,
                          const std::function<void(const Record&, Presented&)>& describe) {
    Presented entries = Presented::array();
    for (const auto& entry : list) {
        Presented presented = Presented::object();
        describe(*entry, presented);
        presented["description"] = presentText(entry->typeDescription);
        presented["sortOrder"] = entry->sortOrder;
        presented["active"] = entry->activeFlag;
        entries.push_back(std::move(presented));
    }
    return entries;
}

Presented presentMasterTypes(const QVCMasterData::MasterTypes& list) {
    return presentCodeList<QVCMasterType>(
        list, [](const QVCMasterType& type, Presented& out) { out["code"] = type.typeCode; });
}

}  // namespace

Presented presentText(const std::optional<std::string>& value) {
    return value && *value != "(null)" ? Presented(*value) : Presented(nullptr);
}

Presented presentID(const std::optional<std::string>& id) {
    std::int64_t value = 0;
    if (!id) {
        return nullptr;
    }
    const char* end = id->data() + id->size();
    const auto result = std::from_chars(id->data(), end, value);
    return !id->empty() && result.ec == std::errc() && result.ptr == end ? Presented(value) : Presented(nullptr);
}

Presented presentMasterData(const QVCMasterData& data) {
    Presented presented = Presented::object();
    presented["ageRangeTypes"] = presentMasterTypes(data.ageRangeTypes);
    presented["genderTypes"] = data.genderTypes;
    presented["maritalStatusTypes"] = presentMasterTypes(data.maritalStatusTypes);
    presented["incomeRangeTypes"] = presentMasterTypes(data.incomeRangeTypes);
    presented["consumerGroupTypes"] = presentMasterTypes(data.consumerGroupTypes);
    presented["educationTypes"] = presentMasterTypes(data.educationTypes);
    presented["states"] = presentCodeList<QVCState>(data.states, [](const QVCState& state, Presented& out) {
        out["stateCode"] = state.stateID ? presentText(state.stateID->stateCode) : Presented(nullptr);
        out["countryCode"] = state.stateID ? presentText(state.stateID->countryCode) : Presented(nullptr);
    });
    presented["occupationTypes"] = presentMasterTypes(data.occupationTypes);
    presented["country"] = presentCodeList<QVCCountry>(data.country, [](const QVCCountry& country, Presented& out) {
        out["countryCode"] = presentText(country.countryCode);
    });
    presented["merchantTypes"] = presentMasterTypes(data.merchantTypes);
    return presented;
}

Presented presentOffer(const QVCOffer& offer) {
    Presented presented = Presented::object();
    presented["offerCode"] = presentText(offer.offerCode);
    presented["offerName"] = presentText(offer.offerName);
    presented["offerId"] = presentText(offer.offerId);
    presented["consumerOfferId"] = presentText(offer.consumerOfferId);
    presented["offerDescription"] = presentText(offer.offerDescription);
    presented["promoCode"] = presentText(offer.promoCode);
    const auto& details = offer.offerDetails;
    const OfferType* type = details ? details->type.get() : nullptr;
    const OfferRules* rule = details ? details->rule.get() : nullptr;
    presented["type"] = type ? presentText(type->typeDescription) : Presented(nullptr);
    presented["percentOff"] = type ? presentText(type->percentOff) : Presented(nullptr);
    presented["amountOff"] = type ? presentText(type->amountOff) : Presented(nullptr);
    presented["loyaltyPoints"] = type ? presentText(type->loyaltyPoint) : Presented(nullptr);
    presented["punchCardNumber"] = type ? presentText(type->cardNumber) : Presented(nullptr);
    presented["minPurchase"] = rule ? presentText(rule->minPurchaseLimit) : Presented(nullptr);
    presented["redeemLimit"] = rule ? presentText(rule->redeemLimit) : Presented(nullptr);
    presented["transactionLimit"] = rule ? presentText(rule->transactionLimit) : Presented(nullptr);
    presented["combinable"] = rule ? Presented(rule->combinable) : Presented(nullptr);
    presented["imageURL"] = details ? presentText(details->imageURL) : Presented(nullptr);
    Presented products = Presented::array();
    if (details && details->products) {
        for (const auto& product : *details->products) {
            products.push_back(presentProduct(*product));
        }
    }
    presented["products"] = std::move(products);
    return presented;
}

Presented presentProduct(const QVCProduct& product) {
    Presented presented = Presented::object();
    presented["productId"] = product.productId;
    if (const auto* reserved = dynamic_cast<const QVCReservationProduct*>(&product)) {
        presented["name"] = presentText(reserved->name);
    }
    presented["description"] = presentText(product.productDescription);
    presented["quantity"] = product.quantity;
    presented["price"] = presentText(product.price);
    return presented;
}

std::string shown(const std::optional<std::string>& text) {
    return !text || *text == "(null)" ? "-" : *text;
}

std::string shown(const Presented& value) {
    if (value.is_null()) {
        return "-";
    }
    if (value.is_string()) {
        return shown(std::optional<std::string>(value.get<std::string>()));
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    return value.dump();
}

void printFields(std::ostream& out, const Presented& object) {
    Fields fields;
    for (const auto& [key, value] : object.items()) {
        fields.add(key, shown(value));
    }
    fields.print(out);
}

void printOffer(std::ostream& out, const Presented& offer) {
    Presented fields = offer;
    fields.erase("products");
    printFields(out, fields);
    if (offer["products"].empty()) {
        return;
    }
    out << "products:\n";
    Table table({{"PRODUCT", Table::Align::Right}, {"NAME"}});
    for (const auto& product : offer["products"]) {
        table.addRow({shown(product["productId"]), shown(product["name"])});
    }
    table.print(out, "  ");
}

void printOfferTable(std::ostream& out, const Presented& offers, const std::string& indent) {
    using Align = Table::Align;
    Table table({{"CODE"},
                 {"NAME"},
                 {"TYPE"},
                 {"% OFF", Align::Right},
                 {"AMOUNT OFF", Align::Right},
                 {"MIN PURCHASE", Align::Right},
                 {"POINTS", Align::Right}});
    for (const auto& offer : offers) {
        table.addRow({shown(offer["offerCode"]), shown(offer["offerName"]), shown(offer["type"]),
                      shown(offer["percentOff"]), shown(offer["amountOff"]), shown(offer["minPurchase"]),
                      shown(offer["loyaltyPoints"])});
    }
    table.print(out, indent);
}

void printMasterData(std::ostream& out, const Presented& data) {
    bool first = true;
    for (const auto& [list, entries] : data.items()) {
        out << (first ? "" : "\n") << list << " (" << entries.size() << ")\n";
        first = false;
        if (list == "genderTypes") {
            for (const auto& gender : entries) {
                out << "  " << gender.get<std::string>() << '\n';
            }
            continue;
        }
        std::vector<Table::Column> columns;
        if (!entries.empty()) {
            for (const auto& [key, value] : entries.front().items()) {
                columns.push_back({key, value.is_number() ? Table::Align::Right : Table::Align::Left});
            }
        }
        Table table(columns);
        for (const auto& entry : entries) {
            std::vector<std::string> cells;
            for (const auto& [key, value] : entry.items()) {
                cells.push_back(shown(value));
            }
            table.addRow(std::move(cells));
        }
        if (!table.empty()) {
            table.print(out);
        }
    }
}
