#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCJSON.h"

/// Builds request documents as a dictionary literal does, raising
/// QVCException with a message that names the key instead of letting an
/// absent value pass unnoticed. Answers are read with QVCReader.
class QVCONSUMER_EXPORT QVCDocument {
public:
    /// Sets object[key] to value: an absent value throws
    /// "attempt to insert an absent value for key "<key>"".
    static void setObject(QVCJSON& object, const std::string& key, const std::optional<std::string>& value);
    static void setObject(QVCJSON& object, const std::string& key, const std::optional<QVCJSON>& value);
};
