#include "Profile.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <type_traits>
#include <variant>
#include <vector>

#include "Failure.h"
#include "QVConsumer/QVCAddress.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCContactInfo.h"
#include "QVConsumer/QVCEmail.h"
#include "QVConsumer/QVCPLoyaltyDetails.h"
#include "QVConsumer/QVCPersonalInfo.h"
#include "QVConsumer/QVCPhone.h"
#include "QVConsumer/QVCPreference.h"
#include "platform/QVCFileText.h"

namespace {

using Text = std::optional<std::string>;
using Codes = std::optional<std::vector<QVCJSON>>;

// The kinds of member and, for each, its presentation, the JSON it is set
// from and what the profile must hold for it.
Presented present(std::int64_t value) {
    return value;
}
Presented present(bool value) {
    return value;
}
Presented present(const Text& value) {
    return presentText(value);
}
Presented present(const Codes& codes) {
    return codes ? Presented::parse(QVCJSON(*codes).dump()) : Presented(nullptr);
}

bool read(const nlohmann::json& value, std::int64_t& target) {
    if (!value.is_number_integer()) {
        return false;
    }
    target = value.get<std::int64_t>();
    return true;
}
bool read(const nlohmann::json& value, bool& target) {
    if (!value.is_boolean()) {
        return false;
    }
    target = value.get<bool>();
    return true;
}
bool read(const nlohmann::json& value, Text& target) {
    if (value.is_null() || value.is_string()) {
        target = value.is_null() ? Text() : Text(value.get<std::string>());
        return true;
    }
    return false;
}
bool read(const nlohmann::json& value, Codes& target) {
    if (value.is_null()) {
        target.reset();
        return true;
    }
    if (!value.is_array()) {
        return false;
    }
    for (const auto& code : value) {
        if (!code.is_string() && !code.is_number_integer()) {
            return false;
        }
    }
    target = value.get<std::vector<QVCJSON>>();
    return true;
}

template <typename T>
constexpr const char* expected = "";
template <>
constexpr const char* expected<std::int64_t> = "an integer";
template <>
constexpr const char* expected<bool> = "true or false";
template <>
constexpr const char* expected<Text> = "a text or null";
template <>
constexpr const char* expected<Codes> = "a list of texts and integers, or null";

/// The command-line option that sets a text member, when it has one.
struct Option {
    const char* name = nullptr;
    const char* help = nullptr;
};

// A member and where it lives in the record tree; a member whose sub-record
// is missing is presented as null and cannot be set.
template <typename T>
struct Field {
    const char* key;
    std::function<T*(QVCConsumerInfo&)> locate;
    Option option;
};
using AnyField = std::variant<Field<std::int64_t>, Field<bool>, Field<Text>, Field<Codes>>;

template <typename Owner>
using Locator = std::function<Owner*(QVCConsumerInfo&)>;

template <typename T, typename Owner, typename Holder>
AnyField field(const char* key, Locator<Owner> owner, T Holder::*member, Option option = {}) {
    return Field<T>{key,
                    [owner, member](QVCConsumerInfo& consumer) -> T* {
                        Owner* record = owner(consumer);
                        return record ? &(record->*member) : nullptr;
                    },
                    option};
}

const Locator<QVCConsumerInfo> root = [](QVCConsumerInfo& consumer) { return &consumer; };
const Locator<QVCPersonalInfo> person = [](QVCConsumerInfo& consumer) { return consumer.personalInfo.get(); };
const Locator<QVCContactInfo> contact = [](QVCConsumerInfo& consumer) {
    return consumer.personalInfo ? consumer.personalInfo->contactInfo.get() : nullptr;
};
template <typename Record>
Locator<Record> inContact(std::shared_ptr<Record> QVCContactInfo::*member) {
    return [member](QVCConsumerInfo& consumer) {
        QVCContactInfo* info = contact(consumer);
        return info ? (info->*member).get() : nullptr;
    };
}
const Locator<QVCEmail> email = inContact(&QVCContactInfo::emailInfo);
const Locator<QVCPhone> phone = inContact(&QVCContactInfo::phoneInfo);
const Locator<QVCAddress> address = inContact(&QVCContactInfo::addressInfo);
const Locator<QVCPreference> preference = [](QVCConsumerInfo& consumer) { return consumer.preference.get(); };
const Locator<QVCPLoyaltyDetails> loyalty = [](QVCConsumerInfo& consumer) { return consumer.loyaltyDetails.get(); };

/// The profile's members in the order they are shown, with their options.
const std::vector<AnyField>& fields() {
    static const std::vector<AnyField> all = {
        field("consumerID", root, &QVCConsumerInfo::consumerID),
        field("userName", person, &QVCPersonalInfo::consumerName, {"--user-name", "user name"}),
        field("firstName", root, &QVCConsumerInfo::firstName, {"--first-name", "first name"}),
        field("middleName", root, &QVCConsumerInfo::middleName, {"--middle-name", "middle name"}),
        field("lastName", root, &QVCConsumerInfo::lastName, {"--last-name", "last name"}),
        field("suffix", root, &QVCConsumerInfo::suffix, {"--suffix", "name suffix"}),
        field("email", email, &QVCEmail::address, {"--email", "e-mail address"}),
        field("phone", phone, &QVCPhone::number, {"--phone", "phone number"}),
        field("addressLine1", address, &QVCAddress::line1, {"--address", "street address"}),
        field("addressLine2", address, &QVCAddress::line2),
        field("addressLine3", address, &QVCAddress::line3),
        field("city", address, &QVCAddress::city, {"--city", "city"}),
        field("postalCode", address, &QVCAddress::postalCode, {"--postal-code", "postal code"}),
        field("stateCode", address, &QVCAddress::stateCode, {"--state", "state code"}),
        field("countryCode", address, &QVCAddress::countryCode, {"--country", "country code"}),
        field("birthMonthDay", person, &QVCPersonalInfo::dateOfBirth,
              {"--birth-month-day", "birth month and day, as the service writes it"}),
        field("genderTypeCode", person, &QVCPersonalInfo::genderTypeCode),
        field("maritalStatusTypeCode", person, &QVCPersonalInfo::maritalStatusTypeCode),
        field("incomeRangeTypeCode", person, &QVCPersonalInfo::incomeRangeTypeCode),
        field("educationTypeCode", person, &QVCPersonalInfo::educationTypeCode),
        field("ageRangeTypeCode", person, &QVCPersonalInfo::ageRangeTypeCode),
        field("occupationTypeCode", person, &QVCPersonalInfo::occupationTypeCode),
        field("occupationOther", person, &QVCPersonalInfo::occupationOther),
        field("accountStatusCode", root, &QVCConsumerInfo::accountStatusCode),
        field("consumerTypeCode", root, &QVCConsumerInfo::consumerTypeCode),
        field("loyaltyId", loyalty, &QVCPLoyaltyDetails::loyaltyId),
        field("activeAccount", root, &QVCConsumerInfo::activeAccount),
        field("emailConfirmed", email, &QVCEmail::confirmedEmail),
        field("phoneConfirmed", phone, &QVCPhone::confirmedPhone),
        field("preferEmail", preference, &QVCPreference::preferEmailFlag),
        field("preferSms", preference, &QVCPreference::preferSmsFlag),
        field("preferApp", preference, &QVCPreference::preferAppFlag),
        // The rows, their type codes and the code lists that the update sends back.
        field("contactId", contact, &QVCContactInfo::contactId),
        field("contactTypeCode", contact, &QVCContactInfo::contactTypeCode),
        field("preferenceTypeCode", preference, &QVCPreference::preferenceTypeCode),
        field("addressId", address, &QVCAddress::addressId),
        field("addressTypeCode", address, &QVCAddress::addressTypeCode),
        field("emailAddressId", email, &QVCEmail::addressId),
        field("emailAddressTypeCode", email, &QVCEmail::addressTypeCode),
        field("phoneNumberId", phone, &QVCPhone::phoneId),
        field("phonenumberTypeCode", phone, &QVCPhone::phoneTypeCode),
        field("consumerGroupCodes", root, &QVCConsumerInfo::consumerGroupCodes),
        field("merchantTypes", root, &QVCConsumerInfo::merchantTypes),
    };
    return all;
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

}  // namespace

void addProfileOptions(CLI::App& command, ProfileOptions& options) {
    command.add_option("--profile", options.file, "JSON file holding the profile (as printed by --json)");
    for (const auto& any : fields()) {
        if (const auto* text = std::get_if<Field<Text>>(&any); text && text->option.name) {
            command.add_option(text->option.name, options.given[text->key], text->option.help);
        }
    }
}

nlohmann::json profileFrom(const ProfileOptions& options) {
    nlohmann::json profile = options.file ? readProfileFile(*options.file) : nlohmann::json::object();
    if (profile.is_object()) {
        for (const auto& [key, value] : options.given) {
            if (value) {
                profile[key] = *value;
            }
        }
    }
    return profile;
}

Presented presentConsumer(const QVCConsumerInfo& consumer) {
    auto& record = const_cast<QVCConsumerInfo&>(consumer);  // the locators only read here
    Presented presented = Presented::object();
    for (const auto& any : fields()) {
        std::visit(
            [&](const auto& member) {
                const auto* value = member.locate(record);
                presented[member.key] = value ? present(*value) : Presented(nullptr);
            },
            any);
    }
    return presented;
}

void applyProfile(QVCConsumerInfo& consumer, const nlohmann::json& profile, const std::string& source) {
    if (!profile.is_object()) {
        throw Failure(ExitUsage, source + ": the profile must be a JSON object");
    }
    for (const auto& item : profile.items()) {
        auto refuse = [&](const std::string& why) {
            throw Failure(ExitUsage, source + ": \"" + item.key() + "\" " + why);
        };
        const auto known = std::find_if(fields().begin(), fields().end(), [&](const AnyField& any) {
            return std::visit([&](const auto& member) { return item.key() == member.key; }, any);
        });
        if (known == fields().end()) {
            refuse("is not a profile field");
        }
        std::visit(
            [&](const auto& member) {
                auto* target = member.locate(consumer);
                if (!target) {
                    refuse("has no place in this profile");
                }
                if (!read(item.value(), *target)) {
                    refuse(std::string("must be ") + expected<std::decay_t<decltype(*target)>>);
                }
            },
            *known);
    }
}

void fillAbsentValues(QVCConsumerInfo& consumer) {
    QVCConsumerInfo fresh;
    for (const auto& any : fields()) {
        std::visit(
            [&](const auto& member) {
                auto* value = member.locate(consumer);
                using T = std::decay_t<decltype(*value)>;
                if constexpr (std::is_same_v<T, Text>) {
                    if (value && (!*value || **value == "(null)")) {
                        *value = "";
                    }
                } else if constexpr (std::is_same_v<T, Codes>) {
                    if (value && !*value) {
                        *value = *member.locate(fresh);
                    }
                }
            },
            any);
    }
}

std::string profileSource(const ProfileOptions& options) {
    return options.file ? *options.file : std::string("the options");
}
