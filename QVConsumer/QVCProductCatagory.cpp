#include "QVConsumer/QVCProductCatagory.h"

#include "QVConsumer/QVCReader.h"

std::shared_ptr<QVCProductCatagory> QVCProductCatagory::initWithResponse(QVCAnswerValue response) {
    return read(QVCReader(response, "category document"));
}

std::shared_ptr<QVCProductCatagory> QVCProductCatagory::initWithResponse(const QVCJSON& response) {
    return QVCReader::read<QVCProductCatagory>(response);
}

std::shared_ptr<QVCProductCatagory> QVCProductCatagory::read(const QVCReader& document) {
    auto category = std::make_shared<QVCProductCatagory>();
    category->catagoryId = document.integer("categorytId");
    category->catagoryName = document.text("categoryName");
    return category;
}
