#include "QVConsumer/QVCReservationProduct.h"

#include "QVConsumer/QVCNumber.h"
#include "QVConsumer/QVCReader.h"

std::shared_ptr<QVCReservationProduct> QVCReservationProduct::initWithResponse(const QVCJSON& response) {
    const QVCReader document(response, "product document");
    auto product = std::make_shared<QVCReservationProduct>();
    product->name = document.asIs("productName");
    product->price = document.asIs("price");
    product->productId = document.integer("productId");
    product->quantity = document.integer("productQuantity");
    product->sku = document.asIs("sku");
    product->startDate = document.asIs("startDate");
    product->endDate = document.asIs("endDate");
    product->timeZone = document.asIs("timeZone");
    product->categories = document.list<std::shared_ptr<QVCProductCatagory>>("categories", &QVCProductCatagory::read);
    product->shortDescription = document.asIs("shortDescription");
    product->prodDesc = document.asIs("productDescription");
    product->taxable = document.truthValue("taxable");
    product->channels = document.list<std::shared_ptr<QVCSalesChannel>>("salesChannels", &QVCSalesChannel::read);
    product->imageAddress = document.asIs("imageUrl");
    product->imageText = document.asIs("productImageText");
    product->createOn = document.asIs("createdOn");
    product->createBy = document.asIs("createdBy");
    product->status = document.asIs("status");
    product->statusCode = document.asIs("statusCode");
    return product;
}

QVCJSON QVCReservationProduct::reverseToDictionary() const {
    return QVCJSON{{"productId", productId},
                   {"productQuantity", quantity},
                   {"productPrice", QVCNumber::doubleValue(price)},
                   {"couponCode", ""}};
}
