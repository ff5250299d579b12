#include "QVConsumer/QVCProduct.h"

#include "QVConsumer/QVCReader.h"

QVCProduct::~QVCProduct() = default;

std::shared_ptr<QVCProduct> QVCProduct::initWithResponse(QVCAnswerValue response) {
    const QVCReader document(response, "product document");
    auto product = std::make_shared<QVCProduct>();
    product->productId = document.integer("productId");
    product->quantity = document.integer("productQuantity");
    product->productDescription = document.text("productDescription");
    product->price = document.text("productPrice");
    return product;
}

std::shared_ptr<QVCProduct> QVCProduct::initWithResponse(const QVCJSON& response) {
    return QVCReader::read<QVCProduct>(response);
}

QVCJSON QVCProduct::toDictionary() const {
    QVCJSON dictionary = QVCJSON::object();
    dictionary["productId"] = productId;
    dictionary["productQuantity"] = quantity;
    if (price) {
        dictionary["productPrice"] = *price;
    }
    if (productDescription) {
        dictionary["productDescription"] = *productDescription;
    }
    return dictionary;
}
