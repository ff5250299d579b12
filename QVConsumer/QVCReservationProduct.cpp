#include "QVConsumer/QVCReservationProduct.h"

#include "QVConsumer/QVCNumber.h"
#include "QVConsumer/QVCReader.h"

namespace {

/// Every element of list, read in order by read.
template <typename Record>
std::vector<std::shared_ptr<Record>> readList(const QVCReader& list,
                                              std::shared_ptr<Record> (*read)(const QVCReader& element)) {
    std::vector<std::shared_ptr<Record>> records;
    records.reserve(list.count());
    list.forEach([&](const QVCReader& element) { records.push_back(read(element)); });
    return records;
}

}  // namespace

std::shared_ptr<QVCReservationProduct> QVCReservationProduct::initWithResponse(QVCAnswerValue response) {
    const QVCReader document(response, "product document");
    auto product = std::make_shared<QVCReservationProduct>();
    product->name = document.text("productName");
    product->price = document.text("price");
    product->productId = document.integer("productId");
    product->quantity = document.integer("productQuantity");
    product->sku = document.text("sku");
    product->startDate = document.text("startDate");
    product->endDate = document.text("endDate");
    product->timeZone = document.text("timeZone");
    product->categories = readList(document.child("categories"), &QVCProductCatagory::read);
    product->shortDescription = document.text("shortDescription");
    product->prodDesc = document.text("productDescription");
    product->taxable = document.truthValue("taxable");
    product->channels = readList(document.child("salesChannels"), &QVCSalesChannel::read);
    product->imageAddress = document.text("imageUrl");
    product->imageText = document.text("productImageText");
    product->createOn = document.text("createdOn");
    product->createBy = document.text("createdBy");
    product->status = document.text("status");
    product->statusCode = document.text("statusCode");
    return product;
}

std::shared_ptr<QVCReservationProduct> QVCReservationProduct::initWithResponse(const QVCJSON& response) {
    return QVCReader::read<QVCReservationProduct>(response);
}

QVCJSON QVCReservationProduct::reverseToDictionary() const {
    return QVCJSON{{"productId", productId},
                   {"productQuantity", quantity},
                   {"productPrice", QVCNumber::doubleValue(price)},
                   {"couponCode", ""}};
}
