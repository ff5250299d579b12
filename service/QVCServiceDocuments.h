#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/QVCJSON.h"
#include "service/QVCServiceExchange.h"

/// The documents of the reference service: the request documents it accepts
/// (each is checked for its required keys and their kinds before anything is
/// stored, and the consumer documents are turned into the consumer document
/// that authentication answers with) and the answer documents it sends.
class QVCServiceDocuments {
public:
    /// A request document at fault; the message names the first key at fault,
    /// as a path from the top ("consumers.contactList[0].firstName is missing").
    class Invalid : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    enum class Variant { SignUp, Update };

    /// The consumer object of a sign-up ({"consumers": {...}}) or update
    /// ({"consumerRq": {"consumers": {...}}}) request, after checking it.
    static const QVCJSON& consumerOf(const QVCJSON& request, Variant variant);

    /// The consumer document stored for a checked consumer object: names and
    /// codes as sent, flags as "Y"/"N", groups and merchant types as lists of
    /// code objects, and the ids of the consumer and its contact, address,
    /// e-mail and phone. An update keeps the merchant types of stored, which
    /// its document does not carry.
    static QVCJSON stored(const QVCJSON& consumer, std::int64_t consumerID, const QVCJSON& stored = QVCJSON());

    /// The consumer id an update names (a number, or a text of digits).
    static std::int64_t consumerIDOf(const QVCJSON& consumer);

    /// Checks a redemption document ("amount", "offerCode", "referenceId", "transactionDateTime").
    static void checkRedemption(const QVCJSON& request);
    /// Checks a push registration document ("deviceToken", "deviceType", "en_Push").
    static void checkDevice(const QVCJSON& request);

    /// The deepest nesting of arrays and objects a request body may have: far
    /// beyond any document of the service, and shallow enough that nothing
    /// recursive over a value can exhaust a stack.
    static constexpr int maxDepth = 64;
    /// Parses a request body; Invalid when it nests deeper than maxDepth
    /// (measured by one pass over the text, before parsing), is not JSON, or
    /// holds a number too large to read.
    static QVCJSON parse(const std::string& body);

    /// An answer carrying body as JSON text.
    static QVCServiceAnswer answer(int status, const QVCJSON& body);
    /// An error answer: the status, also as "httpResponseCode", and a message saying what was wrong.
    static QVCServiceAnswer refusal(int status, const std::string& message);
    /// {"consumerRs": [{"loyaltyPoints", "loyaltyConsumerStatusResponse": [{"description"}]}]}.
    static QVCJSON balance(std::int64_t points, const std::optional<std::string>& status);
    /// {"consumers": {"consumerId": id}}, the answer of a sign-up and an update.
    static QVCJSON consumerSaved(std::int64_t consumerID);
    /// 201 with the redemption's Location and {"redemptionId", "status"}; a
    /// replay answers the same and says so in "Idempotent-Replayed: true".
    static QVCServiceAnswer redeemed(std::int64_t redemptionID, bool replayed);

    /// What a redemption needs of an offer document: its code, the consumer's
    /// redeem limit (none for no limit) and the loyalty points it costs.
    struct OfferTerms {
        std::string code;
        std::optional<std::int64_t> redeemLimit;
        std::int64_t points = 0;
    };
    static OfferTerms termsOf(const QVCJSON& offer);

    /// A text member as it stands, a number's decimal text.
    static std::string text(const QVCJSON& value);
    /// A whole number, or a text of digits, as an integer; none for anything else.
    static std::optional<std::int64_t> wholeNumber(const QVCJSON& value);
};
