#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "QVConsumer/OfferDetails.h"
#include "QVConsumer/QVCRecordArena.h"
#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"

/// One offer as the service knows it. A record made here has empty texts
/// everywhere but offerDescription, which is absent, and fresh details.
struct QVCONSUMER_EXPORT QVCOffer {
    QVCOffer() = default;
    /// An offer whose details are given (none: to be set by the caller).
    explicit QVCOffer(std::shared_ptr<OfferDetails> details) : offerDetails(std::move(details)) {}

    /// The offer's id as assigned to this consumer; redemption puts it in its path.
    std::optional<std::string> consumerOfferId = "";
    std::optional<std::string> offerId = "";      ///< The offer's id.
    std::optional<std::string> offerName = "";    ///< The offer's name.
    std::optional<std::string> offerDescription;  ///< What the offer is about.
    std::optional<std::string> promoCode = "";    ///< The promotion code.
    std::shared_ptr<OfferDetails> offerDetails =
        std::make_shared<OfferDetails>();  ///< What the offer gives, its limits and products.
    /// The code a shopper types in.
    std::optional<std::string> offerCode = "";

    /// Reads one entry of the service's offer answers:
    /// {"consumerOfferId", "offerCode", "offer": {"offerId", "offerName",
    /// "promoCode", "offerDescription", "offerDetails": {"offerRules",
    /// "offerType", "associatedProduct", "imageURL"}}}.
    /// Every member is read, so no default survives: a missing text is absent.
    /// Ids, limits, amounts and points are "%@" texts, "(null)" when missing;
    /// combinable is whether "minPurchaseLimit" has a value; associated
    /// products are plain reservation products with only name and productId.
    /// Throws QVCException when an intermediate object or a product is present
    /// but not an object, or the product list is not a list.
    static std::shared_ptr<QVCOffer> initWithResponse(QVCAnswerValue response);
    /// The same, making the offer and its sub-records in arena, so that the
    /// offers of one list answer share its blocks.
    static std::shared_ptr<QVCOffer> initWithResponse(QVCAnswerValue response, QVCRecordArena& arena);
    /// The same for a document built in memory: written as JSON text and parsed once.
    static std::shared_ptr<QVCOffer> initWithResponse(const QVCJSON& response);
};
