#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QVConsumer/OfferRules.h"
#include "QVConsumer/OfferType.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "QVConsumer/QVConsumerExport.h"

/// The body of an offer: its rules, its discount type, the products it is
/// tied to and its image.
struct QVCONSUMER_EXPORT OfferDetails {
    using Products = std::vector<std::shared_ptr<QVCReservationProduct>>;  ///< The products of an offer.

    OfferDetails() = default;
    /// Details with the given rules and type, made without the default ones.
    OfferDetails(std::shared_ptr<OfferRules> rules, std::shared_ptr<OfferType> offerType)
        : rule(std::move(rules)), type(std::move(offerType)) {}

    std::shared_ptr<OfferRules> rule = std::make_shared<OfferRules>();  ///< The offer's limits.
    std::shared_ptr<OfferType> type = std::make_shared<OfferType>();    ///< What the offer gives.
    /// An empty list by default and after every read. A host may set it to
    /// none ("no list"); the rules check then, as for an empty list, lets the
    /// offer apply to any product.
    std::optional<Products> products = Products{};
    std::optional<std::string> imageURL = "";  ///< The address of the offer's image.
};
