#include "service/QVCServiceDocuments.h"

#include <initializer_list>
#include <vector>

namespace {

using Variant = QVCServiceDocuments::Variant;
using Invalid = QVCServiceDocuments::Invalid;

enum class Kind {
    Text,        ///< a JSON text
    TextOrNull,  ///< a text, or null for a value the client filtered as absent
    Integer,     ///< a whole JSON number
    Id,          ///< a whole number or a text of digits
    TextOrNumber,
    Present,  ///< anything but null
    List,     ///< any array
    Objects,  ///< a non-empty array of objects; only element 0 is kept
};

/// Where a key is required: in both documents, or in one of them only.
enum class In { Both, SignUp, Update };

struct Field {
    const char* key;
    Kind kind;
    In in = In::Both;
};

const char* problem(const QVCJSON& value, Kind kind) {
    switch (kind) {
        case Kind::Text: return value.is_string() ? nullptr : "must be text";
        case Kind::TextOrNull: return value.is_string() || value.is_null() ? nullptr : "must be text or null";
        case Kind::Integer: return value.is_number_integer() ? nullptr : "must be a whole number";
        case Kind::Id:
            return QVCServiceDocuments::wholeNumber(value) ? nullptr : "must be a whole number or a text of digits";
        case Kind::TextOrNumber: return value.is_string() || value.is_number() ? nullptr : "must be text or a number";
        case Kind::Present: return value.is_null() ? "must not be null" : nullptr;
        case Kind::List: return value.is_array() ? nullptr : "must be a list";
        case Kind::Objects:
            return value.is_array() && !value.empty() && value.at(0).is_object()
                       ? nullptr
                       : "must be a non-empty list of objects";
    }
    return nullptr;
}

/// Checks the fields of one object in order; throws Invalid for the first at fault.
void check(const QVCJSON& object, const std::string& where, std::initializer_list<Field> fields,
           In variant = In::Both) {
    if (!object.is_object()) {
        throw Invalid(where + " must be an object");
    }
    for (const auto& field : fields) {
        if (field.in != In::Both && field.in != variant) {
            continue;
        }
        const auto found = object.find(field.key);
        if (found == object.end()) {
            throw Invalid(where + "." + field.key + " is missing");
        }
        if (const char* fault = problem(*found, field.kind)) {
            throw Invalid(where + "." + field.key + " " + fault);
        }
    }
}

void checkConsumer(const QVCJSON& consumer, const std::string& where, In in) {
    check(consumer, where,
          {{"userId", Kind::Text},
           {"consumerId", Kind::Id, In::Update},
           {"quorvexId", Kind::Integer, In::SignUp},
           {"quorvexId", Kind::Id, In::Update},
           {"genderTypeCode", Kind::Text},
           {"consumerTypeCode", Kind::TextOrNull},
           {"maritalStatusTypeCode", Kind::Text},
           {"occupationTypeCode", Kind::Text},
           {"occupationOther", Kind::TextOrNull},
           {"incomeRangeTypeCode", Kind::Text},
           {"educationTypeCode", Kind::Text},
           {"birthMonthDay", Kind::Text},
           {"ageRangeTypeCode", Kind::Text},
           {"accountStatusCode", Kind::TextOrNull},
           {"activeFlag", Kind::Text},
           {"preferEmailFlag", Kind::Text},
           {"preferSmsFlag", Kind::Text},
           {"preferAppFlag", Kind::Text},
           {"consumerGroupCodes", Kind::List},
           {"merchantCategoryCodes", Kind::List, In::SignUp},
           {"lockedDate", Kind::Text},
           {"expiresDate", Kind::Text},
           {"contactList", Kind::Objects}},
          in);
    if (consumer.at("userId").get<std::string>().empty()) {
        throw Invalid(where + ".userId must not be empty");
    }
    const auto& contact = consumer.at("contactList").at(0);
    const std::string at = where + ".contactList[0]";
    check(contact, at,
          {{"contactId", Kind::Text, In::Update},
           {"firstName", Kind::Text},
           {"lastName", Kind::Text},
           {"middleName", Kind::TextOrNull},
           {"preferenceTypeCode", Kind::Integer},
           {"suffix", Kind::TextOrNull},
           {"contactTypeCode", Kind::Text},
           {"address", Kind::Objects},
           {"email", Kind::Objects},
           {"phone", Kind::Objects}},
          in);
    check(contact.at("address").at(0), at + ".address[0]",
          {{"addressId", Kind::Text, In::Update},
           {"addressLine1", Kind::TextOrNull},
           {"addressLine2", Kind::TextOrNull},
           {"addressLine3", Kind::TextOrNull},
           {"city", Kind::TextOrNull},
           {"postalCode", Kind::TextOrNull},
           {"stateCode", Kind::TextOrNull},
           {"countryCode", Kind::TextOrNull},
           {"addressTypeCode", Kind::Text}},
          in);
    check(contact.at("email").at(0), at + ".email[0]",
          {{"emailAddressId", Kind::Text, In::Update},
           {"emailAddress", Kind::TextOrNull},
           {"confirmedFlag", Kind::Text},
           {"emailAddressTypeCode", Kind::Text}},
          in);
    check(contact.at("phone").at(0), at + ".phone[0]",
          {{"phoneNumberId", Kind::Text, In::Update},
           {"phoneNumber", Kind::TextOrNull},
           {"confirmedFlag", Kind::Text},
           {"phonenumberTypeCode", Kind::Text}},
          in);
}

/// "Y" for the flag texts that mean yes ("Y", "y", "1"), "N" for any other.
std::string flag(const QVCJSON& value) {
    const std::string text = value.get<std::string>();
    return text == "Y" || text == "y" || text == "1" ? "Y" : "N";
}

/// The members named by keys, copied from source.
QVCJSON copied(const QVCJSON& source, std::initializer_list<const char*> keys) {
    QVCJSON target = QVCJSON::object();
    for (const char* key : keys) {
        target[key] = source.at(key);
    }
    return target;
}

/// Each code of codes wrapped as {outer: {inner: code}}.
QVCJSON wrapped(const QVCJSON& codes, const char* outer, const char* inner) {
    QVCJSON list = QVCJSON::array();
    for (const auto& code : codes) {
        list.push_back({{outer, {{inner, code}}}});
    }
    return list;
}

}  // namespace

const QVCJSON& QVCServiceDocuments::consumerOf(const QVCJSON& request, Variant variant) {
    const bool signUp = variant == Variant::SignUp;
    const QVCJSON* consumer = &request;
    std::string where;
    static const std::vector<const char*> signUpKeys{"consumers"}, updateKeys{"consumerRq", "consumers"};
    for (const char* key : signUp ? signUpKeys : updateKeys) {
        check(*consumer, where.empty() ? "the document" : where, {{key, Kind::Present}});
        consumer = &consumer->at(key);
        where += where.empty() ? key : std::string(".") + key;
    }
    checkConsumer(*consumer, where, signUp ? In::SignUp : In::Update);
    return *consumer;
}

std::int64_t QVCServiceDocuments::consumerIDOf(const QVCJSON& consumer) {
    return wholeNumber(consumer.at("consumerId")).value_or(0);
}

std::optional<std::int64_t> QVCServiceDocuments::wholeNumber(const QVCJSON& value) {
    if (value.is_number_integer()) {
        return value.get<std::int64_t>();
    }
    const std::string digits = value.is_string() ? value.get<std::string>() : std::string();
    if (digits.empty() || digits.size() > 18 || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    return std::stoll(digits);
}

QVCJSON QVCServiceDocuments::stored(const QVCJSON& consumer, std::int64_t consumerID, const QVCJSON& stored) {
    QVCJSON document = copied(consumer, {"userId", "genderTypeCode", "maritalStatusTypeCode", "incomeRangeTypeCode",
                                         "educationTypeCode", "birthMonthDay", "ageRangeTypeCode", "occupationTypeCode",
                                         "occupationOther", "accountStatusCode", "consumerTypeCode"});
    document["consumerId"] = consumerID;
    for (const char* key : {"activeFlag", "preferEmailFlag", "preferSmsFlag", "preferAppFlag"}) {
        document[key] = flag(consumer.at(key));
    }
    // The rows of one consumer are numbered after it, as the shipped data numbers them.
    const auto rowID = [consumerID](int row) { return std::to_string(consumerID * 10 + row); };
    const auto& contact = consumer.at("contactList").at(0);
    QVCJSON address =
        copied(contact.at("address").at(0), {"addressTypeCode", "addressLine1", "addressLine2", "addressLine3", "city",
                                             "postalCode", "stateCode", "countryCode"});
    address["addressId"] = rowID(2);
    QVCJSON email = copied(contact.at("email").at(0), {"emailAddress", "emailAddressTypeCode"});
    email["emailAddressId"] = rowID(3);
    email["confirmedFlag"] = flag(contact.at("email").at(0).at("confirmedFlag"));
    QVCJSON phone = copied(contact.at("phone").at(0), {"phoneNumber", "phonenumberTypeCode"});
    phone["phoneNumberId"] = rowID(4);
    phone["confirmedFlag"] = flag(contact.at("phone").at(0).at("confirmedFlag"));
    QVCJSON storedContact =
        copied(contact, {"contactTypeCode", "firstName", "middleName", "lastName", "suffix", "preferenceTypeCode"});
    storedContact["contactId"] = rowID(1);
    // array() spelled out: clang reads "= {row}" as a copy of row, not as a list of it.
    storedContact["address"] = QVCJSON::array({address});
    storedContact["email"] = QVCJSON::array({email});
    storedContact["phone"] = QVCJSON::array({phone});
    document["contactList"] = QVCJSON::array({storedContact});
    document["consumerGroup"] = wrapped(consumer.at("consumerGroupCodes"), "consumerGroupType", "groupCode");
    document["consumerMerchantType"] =
        consumer.contains("merchantCategoryCodes")
            ? wrapped(consumer.at("merchantCategoryCodes"), "merchantType", "merchantTypeCode")
            : stored.value("consumerMerchantType", QVCJSON::array());
    document["company"] = {
        {{"companyLoyalty",
          {{"loyalty", {{"loyaltyId", "LOY-" + text(consumer.at("quorvexId")) + "-" + std::to_string(consumerID)}}}}}}};
    return document;
}

void QVCServiceDocuments::checkRedemption(const QVCJSON& request) {
    check(request, "the document",
          {{"amount", Kind::TextOrNumber},
           {"offerCode", Kind::Text},
           {"referenceId", Kind::TextOrNumber},
           {"transactionDateTime", Kind::Text}});
}

void QVCServiceDocuments::checkDevice(const QVCJSON& request) {
    check(request, "the document",
          {{"deviceToken", Kind::Present}, {"deviceType", Kind::Text}, {"en_Push", Kind::Integer}});
}

std::string QVCServiceDocuments::text(const QVCJSON& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}
