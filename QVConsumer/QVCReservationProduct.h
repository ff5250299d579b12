#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QVConsumer/QVCProduct.h"
#include "QVConsumer/QVCProductCatagory.h"
#include "QVConsumer/QVCSalesChannel.h"
#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"

/// A product as the service's catalogue describes it. A record made here has
/// the four product defaults and nothing else: absent texts, absent (not
/// empty) categories and channels, taxable false.
struct QVCONSUMER_EXPORT QVCReservationProduct : QVCProduct {
    std::optional<std::string> name;                                             ///< The product's name.
    std::optional<std::string> startDate;                                        ///< When the reservation starts.
    std::optional<std::string> endDate;                                          ///< When it ends.
    std::optional<std::string> timeZone;                                         ///< The time zone of the dates.
    std::optional<std::vector<std::shared_ptr<QVCProductCatagory>>> categories;  ///< Categories the product is in.
    std::optional<std::string> shortDescription;                                 ///< A one-line description.
    /// The service's "productDescription", kept apart from the inherited productDescription.
    std::optional<std::string> prodDesc;
    bool taxable = false;  ///< Whether the product is taxed.
    /// Sales channels the product is sold through.
    std::optional<std::vector<std::shared_ptr<QVCSalesChannel>>> channels;
    std::optional<std::string> imageAddress;  ///< The address of the product's image.
    std::optional<std::string> imageText;     ///< The image's text.
    std::optional<std::string> sku;           ///< Stock keeping unit.
    std::optional<std::string> status;        ///< Status.
    std::optional<std::string> statusCode;    ///< Status code.
    std::optional<std::string> createOn;      ///< When the product was created.
    std::optional<std::string> createBy;      ///< Who created it.

    /// Reads a catalogue product. Starts from the product defaults, then
    /// overwrites price ("price", as is: a missing one gives none), productId
    /// and quantity (integers: missing gives 0); productDescription keeps "".
    /// categories and channels are always lists, empty when missing or null.
    /// "taxable" is a truth value, and a JSON null there throws.
    static std::shared_ptr<QVCReservationProduct> initWithResponse(QVCAnswerValue response);
    /// The same for a document built in memory: written as JSON text and parsed once.
    static std::shared_ptr<QVCReservationProduct> initWithResponse(const QVCJSON& response);

    /// {"productId", "productQuantity" (integers), "productPrice" (the
    /// price's numeric value as a floating-point number, 0.0 when it has
    /// none), "couponCode" (always "")}: always these four, nothing else.
    QVCJSON reverseToDictionary() const;
};
