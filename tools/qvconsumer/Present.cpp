#include "Present.h"

#include <functional>

#include "Failure.h"
#include "QVConsumer/OfferDetails.h"
#include "QVConsumer/OfferRules.h"
#include "QVConsumer/OfferType.h"
#include "QVConsumer/QVCAddress.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCContactInfo.h"
#include "QVConsumer/QVCCountry.h"
#include "QVConsumer/QVCEmail.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCMasterType.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCPLoyaltyDetails.h"
#include "QVConsumer/QVCPersonalInfo.h"
#include "QVConsumer/QVCPhone.h"
#include "QVConsumer/QVCPreference.h"
#include "QVConsumer/QVCProduct.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "QVConsumer/QVCState.h"
#include "QVConsumer/QVCStateID.h"
#include "Table.h"

namespace {

Presented text(const std::optional<std::string>& value) {
    return value ? Presented(*value) : Presented(nullptr);
}

// The consumer's presented members and where each lives in the record tree;
// a member whose sub-record is missing is presented as null and cannot be set.
template <typename T>
struct ConsumerField {
    const char* key;
    std::function<T*(QVCConsumerInfo&)> locate;
};

template <typename T, typename Parent>
std::function<T*(QVCConsumerInfo&)> in(std::function<Parent*(QVCConsumerInfo&)> parent, T Parent::*member) {
    return [parent, member](QVCConsumerInfo& consumer) -> T* {
        Parent* owner = parent(consumer);
        return owner ? &(owner->*member) : nullptr;
    };
}

std::function<QVCConsumerInfo*(QVCConsumerInfo&)> root() {
    return [](QVCConsumerInfo& consumer) { return &consumer; };
}

std::function<QVCPersonalInfo*(QVCConsumerInfo&)> person() {
    return [](QVCConsumerInfo& consumer) { return consumer.personalInfo.get(); };
}

std::function<QVCContactInfo*(QVCConsumerInfo&)> contact() {
    return [](QVCConsumerInfo& consumer) {
        return consumer.personalInfo ? consumer.personalInfo->contactInfo.get() : nullptr;
    };
}

std::function<QVCEmail*(QVCConsumerInfo&)> email() {
    return [](QVCConsumerInfo& consumer) {
        QVCContactInfo* info = contact()(consumer);
        return info ? info->emailInfo.get() : nullptr;
    };
}

std::function<QVCPhone*(QVCConsumerInfo&)> phone() {
    return [](QVCConsumerInfo& consumer) {
        QVCContactInfo* info = contact()(consumer);
        return info ? info->phoneInfo.get() : nullptr;
    };
}

std::function<QVCAddress*(QVCConsumerInfo&)> address() {
    return [](QVCConsumerInfo& consumer) {
        QVCContactInfo* info = contact()(consumer);
        return info ? info->addressInfo.get() : nullptr;
    };
}

std::function<QVCPreference*(QVCConsumerInfo&)> preference() {
    return [](QVCConsumerInfo& consumer) { return consumer.preference.get(); };
}

std::function<QVCPLoyaltyDetails*(QVCConsumerInfo&)> loyalty() {
    return [](QVCConsumerInfo& consumer) { return consumer.loyaltyDetails.get(); };
}

using TextField = ConsumerField<std::optional<std::string>>;
using FlagField = ConsumerField<bool>;

const std::vector<TextField>& textFields() {
    static const std::vector<TextField> fields = {
        {"userName", in(person(), &QVCPersonalInfo::consumerName)},
        {"firstName", in<std::optional<std::string>, QVCConsumerInfo>(root(), &QVCConsumerInfo::firstName)},
        {"middleName", in<std::optional<std::string>, QVCConsumerInfo>(root(), &QVCConsumerInfo::middleName)},
        {"lastName", in<std::optional<std::string>, QVCConsumerInfo>(root(), &QVCConsumerInfo::lastName)},
        {"suffix", in<std::optional<std::string>, QVCConsumerInfo>(root(), &QVCConsumerInfo::suffix)},
        {"email", in(email(), &QVCEmail::address)},
        {"phone", in(phone(), &QVCPhone::number)},
        {"addressLine1", in(address(), &QVCAddress::line1)},
        {"addressLine2", in(address(), &QVCAddress::line2)},
        {"city", in(address(), &QVCAddress::city)},
        {"postalCode", in(address(), &QVCAddress::postalCode)},
        {"stateCode", in(address(), &QVCAddress::stateCode)},
        {"countryCode", in(address(), &QVCAddress::countryCode)},
        {"birthMonthDay", in(person(), &QVCPersonalInfo::dateOfBirth)},
        {"genderTypeCode", in(person(), &QVCPersonalInfo::genderTypeCode)},
        {"maritalStatusTypeCode", in(person(), &QVCPersonalInfo::maritalStatusTypeCode)},
        {"incomeRangeTypeCode", in(person(), &QVCPersonalInfo::incomeRangeTypeCode)},
        {"educationTypeCode", in(person(), &QVCPersonalInfo::educationTypeCode)},
        {"ageRangeTypeCode", in(person(), &QVCPersonalInfo::ageRangeTypeCode)},
        {"occupationTypeCode", in(person(), &QVCPersonalInfo::occupationTypeCode)},
        {"occupationOther", in(person(), &QVCPersonalInfo::occupationOther)},
        {"accountStatusCode", in(root(), &QVCConsumerInfo::accountStatusCode)},
        {"consumerTypeCode", in(root(), &QVCConsumerInfo::consumerTypeCode)},
        {"loyaltyId", in(loyalty(), &QVCPLoyaltyDetails::loyaltyId)},
    };
    return fields;
}

const std::vector<FlagField>& flagFields() {
    static const std::vector<FlagField> fields = {
        {"activeAccount", in(root(), &QVCConsumerInfo::activeAccount)},
        {"emailConfirmed", in(email(), &QVCEmail::confirmedEmail)},
        {"phoneConfirmed", in(phone(), &QVCPhone::confirmedPhone)},
        {"preferEmail", in(preference(), &QVCPreference::preferEmailFlag)},
        {"preferSms", in(preference(), &QVCPreference::preferSmsFlag)},
        {"preferApp", in(preference(), &QVCPreference::preferAppFlag)},
    };
    return fields;
}

template <typename Record>
Presented presentCodeList(const std::vector<std::shared_ptr<Record>>& list,
                          const std::function<void(const Record&, Presented&)>& describe) {
    Presented entries = Presented::array();
    for (const auto& entry : list) {
        Presented presented = Presented::object();
        describe(*entry, presented);
        presented["description"] = text(entry->typeDescription);
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

Presented presentMasterData(const QVCMasterData& data) {
    Presented presented = Presented::object();
    presented["ageRangeTypes"] = presentMasterTypes(data.ageRangeTypes);
    presented["genderTypes"] = data.genderTypes;
    presented["maritalStatusTypes"] = presentMasterTypes(data.maritalStatusTypes);
    presented["incomeRangeTypes"] = presentMasterTypes(data.incomeRangeTypes);
    presented["consumerGroupTypes"] = presentMasterTypes(data.consumerGroupTypes);
    presented["educationTypes"] = presentMasterTypes(data.educationTypes);
    presented["states"] = presentCodeList<QVCState>(data.states, [](const QVCState& state, Presented& out) {
        out["stateCode"] = state.stateID ? text(state.stateID->stateCode) : Presented(nullptr);
        out["countryCode"] = state.stateID ? text(state.stateID->countryCode) : Presented(nullptr);
    });
    presented["occupationTypes"] = presentMasterTypes(data.occupationTypes);
    presented["country"] = presentCodeList<QVCCountry>(data.country, [](const QVCCountry& country, Presented& out) {
        out["countryCode"] = text(country.countryCode);
    });
    presented["merchantTypes"] = presentMasterTypes(data.merchantTypes);
    return presented;
}

Presented presentConsumer(const QVCConsumerInfo& consumer) {
    auto& record = const_cast<QVCConsumerInfo&>(consumer);  // the locators only read here
    Presented presented = Presented::object();
    presented["consumerID"] = consumer.consumerID;
    for (const auto& field : textFields()) {
        const auto* value = field.locate(record);
        presented[field.key] = value ? text(*value) : Presented(nullptr);
    }
    for (const auto& field : flagFields()) {
        const bool* value = field.locate(record);
        presented[field.key] = value ? Presented(*value) : Presented(nullptr);
    }
    return presented;
}

void applyProfile(QVCConsumerInfo& consumer, const nlohmann::json& profile, const std::string& source) {
    if (!profile.is_object()) {
        throw Failure(ExitUsage, source + ": the profile must be a JSON object");
    }
    for (const auto& member : profile.items()) {
        const std::string& key = member.key();
        const nlohmann::json& value = member.value();
        auto refuse = [&](const std::string& why) { throw Failure(ExitUsage, source + ": \"" + key + "\" " + why); };
        if (key == "consumerID") {
            if (!value.is_number_integer()) {
                refuse("must be an integer");
            }
            consumer.consumerID = value.get<std::int64_t>();
            continue;
        }
        bool known = false;
        for (const auto& field : textFields()) {
            if (key == field.key) {
                if (!value.is_string() && !value.is_null()) {
                    refuse("must be a text or null");
                }
                auto* target = field.locate(consumer);
                if (!target) {
                    refuse("has no place in this profile");
                }
                *target = value.is_null() ? std::nullopt : std::optional<std::string>(value.get<std::string>());
                known = true;
            }
        }
        for (const auto& field : flagFields()) {
            if (key == field.key) {
                if (!value.is_boolean()) {
                    refuse("must be true or false");
                }
                bool* target = field.locate(consumer);
                if (!target) {
                    refuse("has no place in this profile");
                }
                *target = value.get<bool>();
                known = true;
            }
        }
        if (!known) {
            refuse("is not a profile field");
        }
    }
}

Presented presentOffer(const QVCOffer& offer) {
    Presented presented = Presented::object();
    presented["offerCode"] = text(offer.offerCode);
    presented["offerName"] = text(offer.offerName);
    presented["offerId"] = text(offer.offerId);
    presented["consumerOfferId"] = text(offer.consumerOfferId);
    presented["offerDescription"] = text(offer.offerDescription);
    presented["promoCode"] = text(offer.promoCode);
    const auto& details = offer.offerDetails;
    const OfferType* type = details ? details->type.get() : nullptr;
    const OfferRules* rule = details ? details->rule.get() : nullptr;
    presented["type"] = type ? text(type->typeDescription) : Presented(nullptr);
    presented["percentOff"] = type ? text(type->percentOff) : Presented(nullptr);
    presented["amountOff"] = type ? text(type->amountOff) : Presented(nullptr);
    presented["loyaltyPoints"] = type ? text(type->loyaltyPoint) : Presented(nullptr);
    presented["punchCardNumber"] = type ? text(type->cardNumber) : Presented(nullptr);
    presented["minPurchase"] = rule ? text(rule->minPurchaseLimit) : Presented(nullptr);
    presented["redeemLimit"] = rule ? text(rule->redeemLimit) : Presented(nullptr);
    presented["transactionLimit"] = rule ? text(rule->transactionLimit) : Presented(nullptr);
    presented["combinable"] = rule ? Presented(rule->combinable) : Presented(nullptr);
    presented["imageURL"] = details ? text(details->imageURL) : Presented(nullptr);
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
        presented["name"] = text(reserved->name);
    }
    presented["description"] = text(product.productDescription);
    presented["quantity"] = product.quantity;
    presented["price"] = text(product.price);
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
