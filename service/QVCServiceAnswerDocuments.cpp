// The answer documents of the reference service, and the bounded reading of request bodies.
#include "service/QVCServiceDocuments.h"

namespace {

constexpr const char* redemptionsRoot = "lqsapi/consumers/v1/redemptions/";

/// The deepest nesting of arrays and objects in text, outside strings, in one pass.
int nestingOf(const std::string& text, int stopAbove) {
    int depth = 0, deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size() && deepest <= stopAbove; ++i) {
        const char c = text[i];
        if (inString) {
            i += c == '\\';  // an escaped character never ends the string
            inString = c != '"';
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return deepest;
}

}  // namespace

QVCJSON QVCServiceDocuments::parse(const std::string& body) {
    if (nestingOf(body, maxDepth) > maxDepth) {
        throw Invalid("the request body nests deeper than " + std::to_string(maxDepth) + " levels");
    }
    try {
        return QVCJSON::parse(body);
    } catch (const QVCJSON::parse_error&) {
        throw Invalid("the request body is not JSON");
    } catch (const QVCJSON::out_of_range&) {
        throw Invalid("the request body holds a number too large to read");
    }
}

QVCServiceAnswer QVCServiceDocuments::answer(int status, const QVCJSON& body) {
    QVCServiceAnswer answer;
    answer.status = status;
    // Texts taken from the request (a path echoed in a message) need not be UTF-8.
    answer.body = body.dump(-1, ' ', false, QVCJSON::error_handler_t::replace);
    return answer;
}

QVCServiceAnswer QVCServiceDocuments::refusal(int status, const std::string& message) {
    return answer(status, {{"httpResponseCode", status}, {"message", message}});
}

QVCJSON QVCServiceDocuments::balance(std::int64_t points, const std::optional<std::string>& status) {
    QVCJSON statuses = QVCJSON::array();
    if (status) {
        statuses.push_back({{"description", *status}});
    }
    return {{"consumerRs", {{{"loyaltyPoints", points}, {"loyaltyConsumerStatusResponse", statuses}}}}};
}

QVCJSON QVCServiceDocuments::consumerSaved(std::int64_t consumerID) {
    return {{"consumers", {{"consumerId", consumerID}}}};
}

QVCServiceAnswer QVCServiceDocuments::redeemed(std::int64_t redemptionID, bool replayed) {
    QVCServiceAnswer redeemed = answer(201, {{"redemptionId", redemptionID}, {"status", "REDEEMED"}});
    redeemed.headers.emplace_back("Location", redemptionsRoot + std::to_string(redemptionID));
    if (replayed) {
        redeemed.headers.emplace_back("Idempotent-Replayed", "true");
    }
    return redeemed;
}

QVCServiceDocuments::OfferTerms QVCServiceDocuments::termsOf(const QVCJSON& offer) {
    const auto details = offer.value("offer", QVCJSON::object()).value("offerDetails", QVCJSON::object());
    const auto code = offer.value("offerCode", QVCJSON());
    return {code.is_string() ? code.get<std::string>() : std::string(),
            wholeNumber(details.value("offerRules", QVCJSON::object()).value("individualRedeemLimit", QVCJSON())),
            wholeNumber(details.value("offerType", QVCJSON::object()).value("loyaltyPoints", QVCJSON())).value_or(0)};
}
