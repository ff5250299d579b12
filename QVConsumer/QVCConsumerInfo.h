#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QVConsumer/QVCPLoyaltyDetails.h"
#include "QVConsumer/QVCPersonalInfo.h"
#include "QVConsumer/QVCPreference.h"
#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"
#include "platform/QVCoreConsumerInfo.h"

/// One consumer's profile: the platform's consumer record (id and names) plus
/// the account codes, the personal data with its one contact, the contact
/// preferences, the loyalty account and the codes of the consumer's groups
/// and merchant types. A new record holds the defaults a sign-up form starts
/// from: the whole tree is present.
struct QVCONSUMER_EXPORT QVCConsumerInfo : QVCoreConsumerInfo {
    QVCConsumerInfo() = default;

    std::optional<std::string> accountStatusCode = "1";  ///< Account status code.
    bool activeAccount = true;                           ///< Whether the account is active.
    std::optional<std::string> consumerTypeCode = "1";   ///< Consumer type code.
    /// Consumer group codes: numbers by default, texts when the host supplies
    /// them. Absent in a record read from a consumer document.
    std::optional<std::vector<QVCJSON>> consumerGroupCodes = std::vector<QVCJSON>{QVCJSON(1), QVCJSON(2)};
    /// Merchant type codes, numbers or texts like consumerGroupCodes. Absent in
    /// a record read from a consumer document.
    std::optional<std::vector<QVCJSON>> merchantTypes = std::vector<QVCJSON>{QVCJSON(1), QVCJSON(2)};
    std::shared_ptr<QVCPersonalInfo> personalInfo = std::make_shared<QVCPersonalInfo>();  ///< Names, codes and contact.
    std::shared_ptr<QVCPreference> preference =
        std::make_shared<QVCPreference>();  ///< How the consumer wants to be contacted.
    std::shared_ptr<QVCPLoyaltyDetails> loyaltyDetails =
        std::make_shared<QVCPLoyaltyDetails>();  ///< Loyalty program membership.

    /// Reads the service's consumer document (the object that authentication
    /// receives as element 0 of "consumers"). The read is literal and lossy on
    /// purpose: the record starts from the platform record, not from the
    /// defaults above, so both code lists stay absent and the group and
    /// merchant type codes of the document are walked but not kept; names and
    /// the preference type code come from element 0 of "contactList"; only
    /// element 0 of each nested list is read; flags are true only for the text
    /// "Y"; the phone type code is reset to "" and prefix to ""; the
    /// preference type code is not converted: it receives a non-zero token
    /// standing for the document's value (0 when the key is absent), never the
    /// code itself.
    ///
    /// A missing branch of the document reads as absent ("(null)" for codes,
    /// false for flags, 0 for the id). Throws QVCException, naming the value,
    /// for a present but empty list, a value of the wrong kind where an object
    /// or list is needed, a flag that is present but not text, and a JSON null
    /// as element 0 of a contact's "address", "email" or "phone" or of "company".
    static std::shared_ptr<QVCConsumerInfo> initWithResponse(QVCAnswerValue document);
    /// The same for a document built in memory: written as JSON text and parsed once.
    static std::shared_ptr<QVCConsumerInfo> initWithResponse(const QVCJSON& document);

private:
    struct PlatformDefaultsOnly {};
    /// Only the platform record's initialisation: every property of this
    /// record absent, false or null.
    explicit QVCConsumerInfo(PlatformDefaultsOnly);
};
