#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"

class QVCReader;

/// One sales channel in which a product is sold.
struct QVCONSUMER_EXPORT QVCSalesChannel {
    std::int64_t channelId = 0;              ///< The channel's id.
    std::optional<std::string> channelName;  ///< The channel's name.

    /// Reads "channelId" as an integer and "channelName" as is.
    static std::shared_ptr<QVCSalesChannel> initWithResponse(QVCAnswerValue response);
    /// The same for a document built in memory: written as JSON text and parsed once.
    static std::shared_ptr<QVCSalesChannel> initWithResponse(const QVCJSON& response);
    /// The same reading over an element of an enclosing document.
    static std::shared_ptr<QVCSalesChannel> read(const QVCReader& document);
};
