#include "QVConsumer/QVCConsumerInfo.h"

#include <functional>

#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCNumber.h"
#include "platform/QVCUtility.h"

namespace {

// The reader works on pointers: nullptr is an absent value, through which
// every further lookup yields absence. A JSON null is absent only once it has
// passed the platform's null filter (filtered()); a JSON null taken straight
// out of a list (element()) is a value, and looking a key up in it raises.

/// The platform's null filter: a missing value and a JSON null become absent.
const QVCJSON* filtered(const QVCJSON* value) {
    const QVCJSON& checked = QVCUtility::getNonNullValue(value);
    return checked.is_null() ? nullptr : &checked;
}

/// The member key of object, unfiltered; absent when object is absent. Raises
/// when object is present but not a JSON object (a JSON null included).
const QVCJSON* member(const QVCJSON* object, const std::string& key, const std::string& what) {
    return object == nullptr ? nullptr : QVCDocument::valueForKey(*object, key, what);
}

/// The filtered member key of object.
const QVCJSON* lookup(const QVCJSON* object, const std::string& key, const std::string& what) {
    return filtered(member(object, key, what));
}

/// Element 0 of list, unfiltered; absent when list is absent. Raises when list
/// is present but not a list or empty.
const QVCJSON* firstElement(const QVCJSON* list, const std::string& what) {
    return list == nullptr ? nullptr : &QVCDocument::elementAtIndex(*list, 0, what);
}

/// A filtered value stored as text: absent stays absent; a text is kept; any
/// other value is kept as its "%@" text.
std::optional<std::string> text(const QVCJSON* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    return QVCFormat::object(*value);
}

/// A filtered value formatted with "%@": absent becomes "(null)".
std::string formatted(const QVCJSON* value) {
    return QVCFormat::object(value);
}

/// A filtered flag: true only for the text "Y"; absent is false. A present
/// value that is not text cannot be compared with "Y" and raises.
bool flag(const QVCJSON* value, const std::string& what) {
    if (value == nullptr) {
        return false;
    }
    if (!value->is_string()) {
        throw QVCException("flag " + what + " is " + QVCDocument::kindName(*value) + ", not text");
    }
    return value->get_ref<const std::string&>() == "Y";
}

/// The service's preference type code is not converted to a number: the
/// record gets a token that stands for the value object, not its code. The
/// token is derived from the value's text so that two reads of the same
/// document agree; bit 62 is set so that it is never 0 (0 means the key was
/// absent) and never looks like one of the service's small codes.
std::int64_t identityToken(const QVCJSON* value) {
    if (value == nullptr) {
        return 0;
    }
    const auto hash = static_cast<std::uint64_t>(std::hash<std::string>{}(value->dump()));
    return static_cast<std::int64_t>((hash & ((std::uint64_t{1} << 62) - 1)) | (std::uint64_t{1} << 62));
}

/// The elements of a walked list: none when the list is absent. Raises when
/// the list is present but not a list.
std::size_t elementCount(const QVCJSON* list, const std::string& what) {
    if (list == nullptr) {
        return 0;
    }
    if (!list->is_array()) {
        throw QVCException("cannot count the elements of " + what + ": it is " + QVCDocument::kindName(*list) +
                           ", not an array");
    }
    return list->size();
}

/// Appends code to codes when the list exists; a record read from a document
/// has no list, so its codes are dropped.
void appendCode(std::optional<std::vector<QVCJSON>>& codes, QVCJSON code) {
    if (codes) {
        codes->push_back(std::move(code));
    }
}

}  // namespace

QVCConsumerInfo::QVCConsumerInfo(PlatformDefaultsOnly)
    : accountStatusCode(std::nullopt),
      activeAccount(false),
      consumerTypeCode(std::nullopt),
      consumerGroupCodes(std::nullopt),
      merchantTypes(std::nullopt),
      personalInfo(nullptr),
      preference(nullptr),
      loyaltyDetails(nullptr) {}

std::shared_ptr<QVCConsumerInfo> QVCConsumerInfo::initWithResponse(const QVCJSON& document) {
    // The steps run in this order; the order shows only in which fault of a
    // malformed document is reported first.
    const QVCJSON* doc = &document;
    std::shared_ptr<QVCConsumerInfo> record(new QVCConsumerInfo(PlatformDefaultsOnly{}));

    auto person = std::make_shared<QVCPersonalInfo>();
    record->personalInfo = person;
    person->genderTypeCode = formatted(lookup(doc, "genderTypeCode", "the consumer document"));
    person->maritalStatusTypeCode = formatted(lookup(doc, "maritalStatusTypeCode", "the consumer document"));
    person->incomeRangeTypeCode = formatted(lookup(doc, "incomeRangeTypeCode", "the consumer document"));
    person->educationTypeCode = formatted(lookup(doc, "educationTypeCode", "the consumer document"));
    person->dateOfBirth = text(lookup(doc, "birthMonthDay", "the consumer document"));
    person->ageRangeTypeCode = formatted(lookup(doc, "ageRangeTypeCode", "the consumer document"));

    // Only the first contact counts; a JSON null there reads as no contact.
    const QVCJSON* contacts = lookup(doc, "contactList", "the consumer document");
    const QVCJSON* contact = filtered(firstElement(contacts, "contactList"));
    const auto& contactInfo = person->contactInfo;
    contactInfo->contactTypeCode = formatted(lookup(contact, "contactTypeCode", "contactList[0]"));
    contactInfo->contactId = formatted(lookup(contact, "contactId", "contactList[0]"));

    const QVCJSON* address = firstElement(lookup(contact, "address", "contactList[0]"), "contactList[0].address");
    const auto& addressInfo = contactInfo->addressInfo;
    addressInfo->addressId = formatted(lookup(address, "addressId", "contactList[0].address[0]"));
    addressInfo->line1 = text(lookup(address, "addressLine1", "contactList[0].address[0]"));
    addressInfo->line2 = text(lookup(address, "addressLine2", "contactList[0].address[0]"));
    addressInfo->line3 = text(lookup(address, "addressLine3", "contactList[0].address[0]"));
    addressInfo->city = text(lookup(address, "city", "contactList[0].address[0]"));
    addressInfo->postalCode = text(lookup(address, "postalCode", "contactList[0].address[0]"));
    addressInfo->stateCode = text(lookup(address, "stateCode", "contactList[0].address[0]"));
    addressInfo->countryCode = text(lookup(address, "countryCode", "contactList[0].address[0]"));

    const QVCJSON* email = firstElement(lookup(contact, "email", "contactList[0]"), "contactList[0].email");
    const auto& emailInfo = contactInfo->emailInfo;
    emailInfo->addressId = formatted(lookup(email, "emailAddressId", "contactList[0].email[0]"));
    emailInfo->address = text(lookup(email, "emailAddress", "contactList[0].email[0]"));
    emailInfo->confirmedEmail =
        flag(lookup(email, "confirmedFlag", "contactList[0].email[0]"), "contactList[0].email[0].confirmedFlag");

    const QVCJSON* phone = firstElement(lookup(contact, "phone", "contactList[0]"), "contactList[0].phone");
    const auto& phoneInfo = contactInfo->phoneInfo;
    phoneInfo->phoneId = formatted(lookup(phone, "phoneNumberId", "contactList[0].phone[0]"));
    phoneInfo->number = text(lookup(phone, "phoneNumber", "contactList[0].phone[0]"));
    phoneInfo->confirmedPhone =
        flag(lookup(phone, "confirmedFlag", "contactList[0].phone[0]"), "contactList[0].phone[0].confirmedFlag");
    // The service's phone type code is not taken over: a read phone has none.
    phoneInfo->phoneTypeCode = "";

    person->consumerName = text(lookup(doc, "userId", "the consumer document"));
    person->occupationOther = formatted(lookup(doc, "occupationOther", "the consumer document"));
    person->occupationTypeCode = formatted(lookup(doc, "occupationTypeCode", "the consumer document"));

    // The group and merchant type lists are walked (and their shape checked)
    // but the record keeps no code: its code lists are absent.
    const QVCJSON* groups = lookup(doc, "consumerGroup", "the consumer document");
    for (std::size_t i = 0, count = elementCount(groups, "consumerGroup"); i < count; ++i) {
        const std::string what = "consumerGroup[" + std::to_string(i) + "]";
        const QVCJSON* groupType = member(&groups->at(i), "consumerGroupType", what);
        const QVCJSON* code = lookup(groupType, "groupCode", what + ".consumerGroupType");
        appendCode(record->consumerGroupCodes, code ? *code : QVCJSON());
    }
    const QVCJSON* merchantTypes = lookup(doc, "consumerMerchantType", "the consumer document");
    for (std::size_t i = 0, count = elementCount(merchantTypes, "consumerMerchantType"); i < count; ++i) {
        const std::string what = "consumerMerchantType[" + std::to_string(i) + "]";
        const QVCJSON* merchantType = member(&merchantTypes->at(i), "merchantType", what);
        appendCode(record->merchantTypes, formatted(lookup(merchantType, "merchantTypeCode", what + ".merchantType")));
    }

    auto preference = std::make_shared<QVCPreference>();
    record->preference = preference;
    preference->preferEmailFlag = flag(lookup(doc, "preferEmailFlag", "the consumer document"), "preferEmailFlag");
    preference->preferSmsFlag = flag(lookup(doc, "preferSmsFlag", "the consumer document"), "preferSmsFlag");
    preference->preferAppFlag = flag(lookup(doc, "preferAppFlag", "the consumer document"), "preferAppFlag");
    preference->preferenceTypeCode = identityToken(lookup(contact, "preferenceTypeCode", "contactList[0]"));

    record->loyaltyDetails = std::make_shared<QVCPLoyaltyDetails>();

    record->activeAccount = flag(lookup(doc, "activeFlag", "the consumer document"), "activeFlag");
    record->accountStatusCode = formatted(lookup(doc, "accountStatusCode", "the consumer document"));
    record->consumerTypeCode = formatted(lookup(doc, "consumerTypeCode", "the consumer document"));

    // The names live in the contact, not at the top level; the document has no prefix.
    record->firstName = text(lookup(contact, "firstName", "contactList[0]"));
    record->middleName = text(lookup(contact, "middleName", "contactList[0]"));
    record->lastName = text(lookup(contact, "lastName", "contactList[0]"));
    record->prefix = "";
    record->suffix = text(lookup(contact, "suffix", "contactList[0]"));

    const QVCJSON* company = firstElement(lookup(doc, "company", "the consumer document"), "company");
    const QVCJSON* companyLoyalty = lookup(company, "companyLoyalty", "company[0]");
    const QVCJSON* loyalty = lookup(companyLoyalty, "loyalty", "company[0].companyLoyalty");
    record->loyaltyDetails->loyaltyId = text(lookup(loyalty, "loyaltyId", "company[0].companyLoyalty.loyalty"));

    // A 32-bit read of the id, widened with its sign.
    record->consumerID = QVCNumber::intValue(lookup(doc, "consumerId", "the consumer document"), "consumerId");
    return record;
}
