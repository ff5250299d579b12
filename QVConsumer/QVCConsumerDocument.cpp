#include "QVConsumer/QVCConsumerDocument.h"

#include <utility>

#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "platform/QVCUtility.h"

namespace {

/// A record the consumer document is read through: an absent one has no values to write.
template <typename Record>
const Record& required(const std::shared_ptr<Record>& record, const std::string& name) {
    if (!record) {
        throw QVCException("cannot build the consumer document: " + name + " is absent");
    }
    return *record;
}

const char* yesNo(bool value) {
    return value ? "Y" : "N";
}

const char* oneZero(bool value) {
    return value ? "1" : "0";
}

QVCJSON listOfOne(QVCJSON element) {
    QVCJSON list = QVCJSON::array();
    list.push_back(std::move(element));
    return list;
}

/// A code list, numbers and texts as the record holds them; an absent list cannot be written.
void setCodes(QVCJSON& object, const std::string& key, const std::optional<std::vector<QVCJSON>>& codes) {
    QVCDocument::setObject(object, key, codes ? std::optional<QVCJSON>(QVCJSON(*codes)) : std::nullopt);
}

/// Writes one variant of the consumer object; signUp selects the variant's
/// keys and conversions.
class Writer {
public:
    Writer(const QVCConsumerInfo& consumer, bool signUp) : consumer_(consumer), signUp_(signUp) {}

    QVCJSON address(const QVCAddress& info) const;
    QVCJSON email(const QVCEmail& info) const;
    QVCJSON phone(const QVCPhone& info) const;
    QVCJSON contact(const QVCContactInfo& info, const QVCPreference& preference, QVCJSON address, QVCJSON email,
                    QVCJSON phone) const;
    QVCJSON consumerObject(const QVCPersonalInfo& person, const QVCPreference& preference, QVCJSON contact,
                           std::int64_t companyID, const std::optional<std::string>& consumerID) const;

private:
    /// A text that the sign-up document passes through the platform's null
    /// filter (an absent one goes out as JSON null); the update document needs it present.
    void setText(QVCJSON& object, const std::string& key, const std::optional<std::string>& value) const {
        if (!signUp_) {
            QVCDocument::setObject(object, key, value);
            return;
        }
        const QVCJSON text = value ? QVCJSON(*value) : QVCJSON();
        object[key] = QVCUtility::getNonNullValue(value ? &text : nullptr);
    }

    /// The id of an existing row: written only by the update document.
    void setRowId(QVCJSON& object, const std::string& key, const std::optional<std::string>& value) const {
        if (!signUp_) {
            QVCDocument::setObject(object, key, value);
        }
    }

    /// A type code: the constant "1" at sign-up, the record's own code at update.
    void setTypeCode(QVCJSON& object, const std::string& key, const std::optional<std::string>& value) const {
        if (signUp_) {
            object[key] = "1";
        } else {
            QVCDocument::setObject(object, key, value);
        }
    }

    /// An e-mail or phone row: its id, its value, whether it is confirmed, its type code.
    QVCJSON confirmedRow(const char* idKey, const std::optional<std::string>& id, const char* valueKey,
                         const std::optional<std::string>& value, bool confirmed, const char* typeKey,
                         const std::optional<std::string>& typeCode) const;

    const QVCConsumerInfo& consumer_;
    const bool signUp_;
};

QVCJSON Writer::address(const QVCAddress& info) const {
    QVCJSON object = QVCJSON::object();
    setRowId(object, "addressId", info.addressId);
    setText(object, "addressLine1", info.line1);
    setText(object, "addressLine2", info.line2);
    setText(object, "addressLine3", info.line3);
    setText(object, "city", info.city);
    setText(object, "postalCode", info.postalCode);
    setText(object, "stateCode", info.stateCode);
    setText(object, "countryCode", info.countryCode);
    setTypeCode(object, "addressTypeCode", info.addressTypeCode);
    return object;
}

QVCJSON Writer::confirmedRow(const char* idKey, const std::optional<std::string>& id, const char* valueKey,
                             const std::optional<std::string>& value, bool confirmed, const char* typeKey,
                             const std::optional<std::string>& typeCode) const {
    QVCJSON object = QVCJSON::object();
    setRowId(object, idKey, id);
    setText(object, valueKey, value);
    object["confirmedFlag"] = yesNo(confirmed);
    setTypeCode(object, typeKey, typeCode);
    return object;
}

QVCJSON Writer::email(const QVCEmail& info) const {
    return confirmedRow("emailAddressId", info.addressId, "emailAddress", info.address, info.confirmedEmail,
                        "emailAddressTypeCode", info.addressTypeCode);
}

QVCJSON Writer::phone(const QVCPhone& info) const {
    // The service spells the phone's type code key with a lower-case "n".
    return confirmedRow("phoneNumberId", info.phoneId, "phoneNumber", info.number, info.confirmedPhone,
                        "phonenumberTypeCode", info.phoneTypeCode);
}

QVCJSON Writer::contact(const QVCContactInfo& info, const QVCPreference& preference, QVCJSON address, QVCJSON email,
                        QVCJSON phone) const {
    QVCJSON object = QVCJSON::object();
    setRowId(object, "contactId", info.contactId);
    QVCDocument::setObject(object, "firstName", consumer_.firstName);
    QVCDocument::setObject(object, "lastName", consumer_.lastName);
    setText(object, "middleName", consumer_.middleName);
    object["preferenceTypeCode"] = preference.preferenceTypeCode;
    setText(object, "suffix", consumer_.suffix);
    setTypeCode(object, "contactTypeCode", info.contactTypeCode);
    object["address"] = listOfOne(std::move(address));
    object["email"] = listOfOne(std::move(email));
    object["phone"] = listOfOne(std::move(phone));
    return object;
}

QVCJSON Writer::consumerObject(const QVCPersonalInfo& person, const QVCPreference& preference, QVCJSON contact,
                               std::int64_t companyID, const std::optional<std::string>& consumerID) const {
    QVCJSON object = QVCJSON::object();
    setText(object, "userId", person.consumerName);
    if (!signUp_) {
        QVCDocument::setObject(object, "consumerId", consumerID);
    }
    // A number at sign-up, decimal text at update: the service expects each so.
    object["quorvexId"] = signUp_ ? QVCJSON(companyID) : QVCJSON(QVCFormat::integer(companyID));
    QVCDocument::setObject(object, "genderTypeCode", person.genderTypeCode);
    setText(object, "consumerTypeCode", consumer_.consumerTypeCode);
    QVCDocument::setObject(object, "maritalStatusTypeCode", person.maritalStatusTypeCode);
    QVCDocument::setObject(object, "occupationTypeCode", person.occupationTypeCode);
    setText(object, "occupationOther", person.occupationOther);
    QVCDocument::setObject(object, "incomeRangeTypeCode", person.incomeRangeTypeCode);
    QVCDocument::setObject(object, "educationTypeCode", person.educationTypeCode);
    QVCDocument::setObject(object, "birthMonthDay", person.dateOfBirth);
    QVCDocument::setObject(object, "ageRangeTypeCode", person.ageRangeTypeCode);
    setText(object, "accountStatusCode", consumer_.accountStatusCode);
    // The update always sends a lower-case "y", whatever the record holds.
    object["activeFlag"] = signUp_ ? yesNo(consumer_.activeAccount) : "y";
    object["preferEmailFlag"] = oneZero(preference.preferEmailFlag);
    object["preferSmsFlag"] = oneZero(preference.preferSmsFlag);
    object["preferAppFlag"] = oneZero(preference.preferAppFlag);
    setCodes(object, "consumerGroupCodes", consumer_.consumerGroupCodes);
    if (signUp_) {
        setCodes(object, "merchantCategoryCodes", consumer_.merchantTypes);
    }
    object["lockedDate"] = "";
    object["expiresDate"] = "";
    object["contactList"] = listOfOne(std::move(contact));
    return object;
}

/// The consumer object of either variant, after every record it reads from
/// has been found present (in this order, which shows in the message).
QVCJSON consumerObject(const std::shared_ptr<QVCConsumerInfo>& info, const std::shared_ptr<QVCCompanyInfo>& company,
                       const std::optional<std::string>& consumerID, bool signUp) {
    const QVCConsumerInfo& consumer = required(info, "the consumer record");
    const QVCPersonalInfo& person = required(consumer.personalInfo, "personalInfo");
    const QVCContactInfo& contact = required(person.contactInfo, "personalInfo.contactInfo");
    const QVCAddress& address = required(contact.addressInfo, "personalInfo.contactInfo.addressInfo");
    const QVCEmail& email = required(contact.emailInfo, "personalInfo.contactInfo.emailInfo");
    const QVCPhone& phone = required(contact.phoneInfo, "personalInfo.contactInfo.phoneInfo");
    const QVCPreference& preference = required(consumer.preference, "preference");
    const std::int64_t companyID = required(company, "the manager's company information").companyID;

    // One statement per part: the order in which absent values are found shows in the message.
    const Writer writer(consumer, signUp);
    QVCJSON addressObject = writer.address(address);
    QVCJSON emailObject = writer.email(email);
    QVCJSON phoneObject = writer.phone(phone);
    QVCJSON contactObject =
        writer.contact(contact, preference, std::move(addressObject), std::move(emailObject), std::move(phoneObject));
    return writer.consumerObject(person, preference, std::move(contactObject), companyID, consumerID);
}

}  // namespace

QVCJSON QVCConsumerDocument::signUp(const std::shared_ptr<QVCConsumerInfo>& info,
                                    const std::shared_ptr<QVCCompanyInfo>& company) {
    return QVCJSON{{"consumers", consumerObject(info, company, std::nullopt, true)}};
}

QVCJSON QVCConsumerDocument::update(const std::shared_ptr<QVCConsumerInfo>& info,
                                    const std::shared_ptr<QVCCompanyInfo>& company,
                                    const std::optional<std::string>& consumerID) {
    return QVCJSON{{"consumerRq", {{"consumers", consumerObject(info, company, consumerID, false)}}}};
}
