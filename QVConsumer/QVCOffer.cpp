#include "QVConsumer/QVCOffer.h"

#include "QVConsumer/QVCReader.h"

namespace {

std::shared_ptr<OfferRules> readRules(const QVCReader& rules) {
    auto rule = rules.make<OfferRules>();
    rule->redeemLimit = rules.formatted("individualRedeemLimit");
    rule->transactionLimit = rules.formatted("transactionLimit");
    rule->minPurchaseLimit = rules.formatted("minPurchaseLimit");
    // The document has no combinability key: an offer with a minimum purchase is combinable.
    rule->combinable = rules.present("minPurchaseLimit");
    return rule;
}

std::shared_ptr<OfferType> readType(const QVCReader& offerType) {
    auto type = offerType.make<OfferType>();
    type->typeDescription = offerType.text("type");
    type->percentOff = offerType.formatted("dollarPercentageOff");
    type->amountOff = offerType.formatted("dollarAmountOff");
    type->cardNumber = offerType.formatted("punchCardNumber");
    type->loyaltyPoint = offerType.formatted("loyaltyPoints");
    return type;
}

/// An associated product carries only its name and id; the rest keeps the
/// product defaults (price "0", quantity 0).
std::shared_ptr<QVCReservationProduct> readAssociatedProduct(const QVCReader& element) {
    auto product = element.make<QVCReservationProduct>();
    product->name = element.text("productName");
    product->productId = element.integer("productId");
    return product;
}

}  // namespace

std::shared_ptr<QVCOffer> QVCOffer::initWithResponse(QVCAnswerValue response) {
    QVCRecordArena arena;
    return initWithResponse(response, arena);
}

std::shared_ptr<QVCOffer> QVCOffer::initWithResponse(QVCAnswerValue response, QVCRecordArena& arena) {
    const QVCReader document(response, "offer document", arena);
    auto offer = document.make<QVCOffer>(nullptr);
    offer->consumerOfferId = document.text("consumerOfferId");
    offer->offerCode = document.text("offerCode");

    const QVCReader body = document.member("offer");
    offer->offerId = body.formatted("offerId");
    offer->offerName = body.text("offerName");
    offer->promoCode = body.text("promoCode");
    offer->offerDescription = body.text("offerDescription");

    const QVCReader details = body.member("offerDetails");
    auto rule = readRules(details.member("offerRules"));
    auto type = readType(details.member("offerType"));
    OfferDetails::Products products;
    const QVCReader associated = details.child("associatedProduct");
    products.reserve(associated.count());
    associated.forEach([&](const QVCReader& element) { products.push_back(readAssociatedProduct(element)); });

    auto offerDetails = details.make<OfferDetails>(std::move(rule), std::move(type));
    offerDetails->imageURL = details.text("imageURL");
    offerDetails->products = std::move(products);
    offer->offerDetails = std::move(offerDetails);
    return offer;
}

std::shared_ptr<QVCOffer> QVCOffer::initWithResponse(const QVCJSON& response) {
    return QVCReader::read<QVCOffer>(response);
}
