#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"

class QVCReader;

/// One catalogue category of a product. The misspelt names are the
/// interface's own and stay as they are.
struct QVCONSUMER_EXPORT QVCProductCatagory {
    std::optional<std::string> catagoryName;  ///< The category's name.
    std::int64_t catagoryId = 0;              ///< The category's id.

    /// Reads "categorytId" (spelled so; a "categoryId" member is not read, so
    /// its id stays 0) as an integer and "categoryName" as is.
    static std::shared_ptr<QVCProductCatagory> initWithResponse(QVCAnswerValue response);
    /// The same for a document built in memory: written as JSON text and parsed once.
    static std::shared_ptr<QVCProductCatagory> initWithResponse(const QVCJSON& response);
    /// The same reading over an element of an enclosing document.
    static std::shared_ptr<QVCProductCatagory> read(const QVCReader& document);
};
