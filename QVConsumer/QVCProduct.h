#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"

/// One product line of a basket, as the host builds it for validation and as
/// it is written to a request. productId -1 stands for a product not yet
/// known; the price is text, "0" by default.
struct QVCONSUMER_EXPORT QVCProduct {
    QVCProduct() = default;
    QVCProduct(const QVCProduct&) = default;             ///< Copies other.
    QVCProduct& operator=(const QVCProduct&) = default;  ///< Copies other.
    QVCProduct(QVCProduct&&) = default;                  ///< Moves other.
    QVCProduct& operator=(QVCProduct&&) = default;       ///< Moves other.
    virtual ~QVCProduct();

    std::int64_t productId = -1;                         ///< The product's id; -1 for one not yet known.
    std::int64_t quantity = 0;                           ///< How many.
    std::optional<std::string> productDescription = "";  ///< What the product is.
    std::optional<std::string> price = "0";              ///< Unit price, as text.

    /// Reads "productId" and "productQuantity" as integers, "productDescription"
    /// and "productPrice" as is. Every member is read, so the defaults above do
    /// not survive: a missing "productId" gives 0, a missing price none.
    static std::shared_ptr<QVCProduct> initWithResponse(QVCAnswerValue response);
    /// The same for a document built in memory: written as JSON text and parsed once.
    static std::shared_ptr<QVCProduct> initWithResponse(const QVCJSON& response);

    /// {"productId", "productQuantity" (integers), "productPrice",
    /// "productDescription" (texts)}; an absent text leaves its key out.
    QVCJSON toDictionary() const;
};
