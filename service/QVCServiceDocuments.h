#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/QVCJSON.h"

/// The request documents the reference service accepts: each is checked for
/// its required keys and their kinds before anything is stored, and the
/// consumer documents are turned into the consumer document that
/// authentication answers with.
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

    /// A text member as it stands, a number's decimal text.
    static std::string text(const QVCJSON& value);
    /// A whole number, or a text of digits, as an integer; none for anything else.
    static std::optional<std::int64_t> wholeNumber(const QVCJSON& value);
};
