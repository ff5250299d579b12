#include "QVConsumer/QVCOffer.h"

#include "QVConsumer/QVCReader.h"

namespace {

std::shared_ptr<OfferRules> readRules(const QVCReader& rules) {
    auto rule = std::make_shared<OfferRules>();
    rule->redeemLimit = rules.formatted("individualRedeemLimit");
    rule->transactionLimit = rules.formatted("transactionLimit");
    rule->minPurchaseLimit = rules.formatted("minPurchaseLimit");
    // The document has no combinability key: an offer with a minimum purchase is combinable.
    rule->combinable = rules.present("minPurchaseLimit");
    return rule;
}

std::shared_ptr<OfferType> readType(const QVCReader& offerType) {
    auto type = std::make_shared<OfferType>();
    type->typeDescription = offerType.asIs("type");
    type->percentOff = offerType.formatted("dollarPercentageOff");
    type->amountOff = offerType.formatted("dollarAmountOff");
    type->cardNumber = offerType.formatted("punchCardNumber");
    type->loyaltyPoint = offerType.formatted("loyaltyPoints");
    return type;
}

/// An associated product carries only its name and id; the rest keeps the
/// product defaults (price "0", quantity 0).
std::shared_ptr<QVCReservationProduct> readAssociatedProduct(const QVCReader& element) {
    auto product = std::make_shared<QVCReservationProduct>();
    product->name = element.asIs("productName");
    product->productId = element.integer("productId");
    return product;
}

}  // namespace

std::shared_ptr<QVCOffer> QVCOffer::initWithResponse(const QVCJSON& response) {
    const QVCReader document(response, "offer document");
    auto offer = std::make_shared<QVCOffer>();
    offer->consumerOfferId = document.asIs("consumerOfferId");
    offer->offerCode = document.asIs("offerCode");

    const QVCReader body = document.member("offer");
    offer->offerId = body.formatted("offerId");
    offer->offerName = body.asIs("offerName");
    offer->promoCode = body.asIs("promoCode");
    offer->offerDescription = body.asIs("offerDescription");

    const QVCReader details = body.member("offerDetails");
    auto rule = readRules(details.member("offerRules"));
    auto type = readType(details.member("offerType"));
    auto products = details.list<std::shared_ptr<QVCReservationProduct>>("associatedProduct", &readAssociatedProduct);

    auto offerDetails = std::make_shared<OfferDetails>();
    offerDetails->imageURL = details.asIs("imageURL");
    offerDetails->type = std::move(type);
    offerDetails->rule = std::move(rule);
    offerDetails->products = std::move(products);
    offer->offerDetails = std::move(offerDetails);
    return offer;
}
