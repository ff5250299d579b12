#include "QVConsumer/QVCConsumerInfo.h"

#include <functional>

#include "QVConsumer/QVCReader.h"

namespace {

/// The service's preference type code is not converted to a number: the
/// record gets a token that stands for the value object, not its code. The
/// token is derived from the value's JSON text so that two reads of the same
/// document agree; bit 62 is set so that it is never 0 (0 means the key was
/// absent) and never looks like one of the service's small codes.
std::int64_t identityToken(const std::optional<std::string>& json) {
    if (!json) {
        return 0;
    }
    const auto hash = static_cast<std::uint64_t>(std::hash<std::string>{}(*json));
    return static_cast<std::int64_t>((hash & ((std::uint64_t{1} << 62) - 1)) | (std::uint64_t{1} << 62));
}

/// The first contact's own codes and the first address, e-mail and phone.
void readContact(const QVCReader& contact, QVCContactInfo& contactInfo) {
    contactInfo.contactTypeCode = contact.formatted("contactTypeCode");
    contactInfo.contactId = contact.formatted("contactId");

    const QVCReader address = contact.first("address");
    const auto& addressInfo = contactInfo.addressInfo;
    addressInfo->addressId = address.formatted("addressId");
    addressInfo->line1 = address.text("addressLine1");
    addressInfo->line2 = address.text("addressLine2");
    addressInfo->line3 = address.text("addressLine3");
    addressInfo->city = address.text("city");
    addressInfo->postalCode = address.text("postalCode");
    addressInfo->stateCode = address.text("stateCode");
    addressInfo->countryCode = address.text("countryCode");

    const QVCReader email = contact.first("email");
    contactInfo.emailInfo->addressId = email.formatted("emailAddressId");
    contactInfo.emailInfo->address = email.text("emailAddress");
    contactInfo.emailInfo->confirmedEmail = email.flag("confirmedFlag");

    const QVCReader phone = contact.first("phone");
    contactInfo.phoneInfo->phoneId = phone.formatted("phoneNumberId");
    contactInfo.phoneInfo->number = phone.text("phoneNumber");
    contactInfo.phoneInfo->confirmedPhone = phone.flag("confirmedFlag");
    // The service's phone type code is not taken over: a read phone has none.
    contactInfo.phoneInfo->phoneTypeCode = "";
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

std::shared_ptr<QVCConsumerInfo> QVCConsumerInfo::initWithResponse(QVCAnswerValue document) {
    // The steps run in this order; the order shows only in which fault of a
    // malformed document is reported first.
    const QVCReader doc(document, "the consumer document");
    std::shared_ptr<QVCConsumerInfo> record(new QVCConsumerInfo(PlatformDefaultsOnly{}));

    auto person = std::make_shared<QVCPersonalInfo>();
    record->personalInfo = person;
    person->genderTypeCode = doc.formatted("genderTypeCode");
    person->maritalStatusTypeCode = doc.formatted("maritalStatusTypeCode");
    person->incomeRangeTypeCode = doc.formatted("incomeRangeTypeCode");
    person->educationTypeCode = doc.formatted("educationTypeCode");
    person->dateOfBirth = doc.text("birthMonthDay");
    person->ageRangeTypeCode = doc.formatted("ageRangeTypeCode");

    // Only the first contact counts; a JSON null there reads as no contact.
    const QVCReader contact = doc.firstFiltered("contactList");
    readContact(contact, *person->contactInfo);

    person->consumerName = doc.text("userId");
    person->occupationOther = doc.formatted("occupationOther");
    person->occupationTypeCode = doc.formatted("occupationTypeCode");

    // The group and merchant type lists are walked, so that a malformed entry
    // raises, but the record keeps no code: its code lists stay absent.
    doc.child("consumerGroup").forEach([](const QVCReader& group) {
        group.member("consumerGroupType").present("groupCode");
    });
    doc.child("consumerMerchantType").forEach([](const QVCReader& merchantType) {
        merchantType.member("merchantType").present("merchantTypeCode");
    });

    auto preference = std::make_shared<QVCPreference>();
    record->preference = preference;
    preference->preferEmailFlag = doc.flag("preferEmailFlag");
    preference->preferSmsFlag = doc.flag("preferSmsFlag");
    preference->preferAppFlag = doc.flag("preferAppFlag");
    preference->preferenceTypeCode = identityToken(contact.json("preferenceTypeCode"));

    record->loyaltyDetails = std::make_shared<QVCPLoyaltyDetails>();

    record->activeAccount = doc.flag("activeFlag");
    record->accountStatusCode = doc.formatted("accountStatusCode");
    record->consumerTypeCode = doc.formatted("consumerTypeCode");

    // The names live in the contact, not at the top level; the document has no prefix.
    record->firstName = contact.text("firstName");
    record->middleName = contact.text("middleName");
    record->lastName = contact.text("lastName");
    record->prefix = "";
    record->suffix = contact.text("suffix");

    record->loyaltyDetails->loyaltyId = doc.first("company").child("companyLoyalty").child("loyalty").text("loyaltyId");

    // A 32-bit read of the id, widened with its sign.
    record->consumerID = doc.int32("consumerId");
    return record;
}

std::shared_ptr<QVCConsumerInfo> QVCConsumerInfo::initWithResponse(const QVCJSON& document) {
    return QVCReader::read<QVCConsumerInfo>(document);
}
