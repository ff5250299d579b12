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
// out of a list (firstElement()) is a value, and looking a key up in it raises.

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

/// Element 0 of list, unfiltered; absent when list is absent. Raises when list
/// is present but not a list or empty.
const QVCJSON* firstElement(const QVCJSON* list, const std::string& what) {
    return list == nullptr ? nullptr : &QVCDocument::elementAtIndex(*list, 0, what);
}

/// A filtered value stored as text: absent stays absent; a text is kept; any
/// other value is kept as its "%@" text.
std::optional<std::string> textOf(const QVCJSON* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    return QVCFormat::object(*value);
}

/// One object of the document being read (absent when its branch is
/// missing), with its path for messages.
class Branch {
public:
    Branch(const QVCJSON* value, std::string path) : value_(value), path_(std::move(path)) {}

    /// The filtered member key.
    const QVCJSON* lookup(const std::string& key) const { return filtered(member(value_, key, name())); }
    /// The member key as text; absent stays absent.
    std::optional<std::string> text(const std::string& key) const { return textOf(lookup(key)); }
    /// The member key formatted with "%@": absent becomes "(null)".
    std::string formatted(const std::string& key) const { return QVCFormat::object(lookup(key)); }
    /// The member key as a flag: true only for the text "Y", absent is false.
    /// A present value that is not text cannot be compared with "Y" and raises.
    bool flag(const std::string& key) const {
        const QVCJSON* value = lookup(key);
        if (value != nullptr && !value->is_string()) {
            throw QVCException("flag " + childPath(key) + " is " + QVCDocument::kindName(*value) + ", not text");
        }
        return value != nullptr && value->get_ref<const std::string&>() == "Y";
    }
    /// Element 0 of the list under key, taken without the null filter.
    Branch first(const std::string& key) const {
        return Branch(firstElement(lookup(key), childPath(key)), childPath(key) + "[0]");
    }
    /// The same, through the null filter: a JSON null element reads as absent.
    Branch firstFiltered(const std::string& key) const {
        return Branch(filtered(first(key).value_), childPath(key) + "[0]");
    }
    /// The filtered member key as a branch.
    Branch child(const std::string& key) const { return Branch(lookup(key), childPath(key)); }
    /// The member key, unfiltered, as a branch.
    Branch unfilteredChild(const std::string& key) const { return Branch(member(value_, key, name()), childPath(key)); }
    const QVCJSON* value() const { return value_; }
    std::string childPath(const std::string& key) const { return path_.empty() ? key : path_ + "." + key; }

private:
    std::string name() const { return path_.empty() ? "the consumer document" : path_; }

    const QVCJSON* value_;
    std::string path_;
};

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
    const Branch doc(&document, "");
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
    const Branch contact = doc.firstFiltered("contactList");
    const auto& contactInfo = person->contactInfo;
    contactInfo->contactTypeCode = contact.formatted("contactTypeCode");
    contactInfo->contactId = contact.formatted("contactId");

    const Branch address = contact.first("address");
    const auto& addressInfo = contactInfo->addressInfo;
    addressInfo->addressId = address.formatted("addressId");
    addressInfo->line1 = address.text("addressLine1");
    addressInfo->line2 = address.text("addressLine2");
    addressInfo->line3 = address.text("addressLine3");
    addressInfo->city = address.text("city");
    addressInfo->postalCode = address.text("postalCode");
    addressInfo->stateCode = address.text("stateCode");
    addressInfo->countryCode = address.text("countryCode");

    const Branch email = contact.first("email");
    contactInfo->emailInfo->addressId = email.formatted("emailAddressId");
    contactInfo->emailInfo->address = email.text("emailAddress");
    contactInfo->emailInfo->confirmedEmail = email.flag("confirmedFlag");

    const Branch phone = contact.first("phone");
    contactInfo->phoneInfo->phoneId = phone.formatted("phoneNumberId");
    contactInfo->phoneInfo->number = phone.text("phoneNumber");
    contactInfo->phoneInfo->confirmedPhone = phone.flag("confirmedFlag");
    // The service's phone type code is not taken over: a read phone has none.
    contactInfo->phoneInfo->phoneTypeCode = "";

    person->consumerName = doc.text("userId");
    person->occupationOther = doc.formatted("occupationOther");
    person->occupationTypeCode = doc.formatted("occupationTypeCode");

    // The group and merchant type lists are walked (and their shape checked)
    // but the record keeps no code: its code lists are absent.
    const Branch groups = doc.child("consumerGroup");
    for (std::size_t i = 0, count = QVCDocument::elementCount(groups.value(), "consumerGroup"); i < count; ++i) {
        const Branch group(&groups.value()->at(i), "consumerGroup[" + std::to_string(i) + "]");
        const QVCJSON* code = group.unfilteredChild("consumerGroupType").lookup("groupCode");
        appendCode(record->consumerGroupCodes, code ? *code : QVCJSON());
    }
    const Branch merchantTypes = doc.child("consumerMerchantType");
    for (std::size_t i = 0, count = QVCDocument::elementCount(merchantTypes.value(), "consumerMerchantType"); i < count;
         ++i) {
        const Branch merchantType(&merchantTypes.value()->at(i), "consumerMerchantType[" + std::to_string(i) + "]");
        appendCode(record->merchantTypes, merchantType.unfilteredChild("merchantType").formatted("merchantTypeCode"));
    }

    auto preference = std::make_shared<QVCPreference>();
    record->preference = preference;
    preference->preferEmailFlag = doc.flag("preferEmailFlag");
    preference->preferSmsFlag = doc.flag("preferSmsFlag");
    preference->preferAppFlag = doc.flag("preferAppFlag");
    preference->preferenceTypeCode = identityToken(contact.lookup("preferenceTypeCode"));

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

    const Branch loyalty = doc.first("company").child("companyLoyalty").child("loyalty");
    record->loyaltyDetails->loyaltyId = loyalty.text("loyaltyId");

    // A 32-bit read of the id, widened with its sign.
    record->consumerID = QVCNumber::intValue(doc.lookup("consumerId"), "consumerId");
    return record;
}
