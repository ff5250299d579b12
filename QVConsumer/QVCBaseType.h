#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// The common part of a code-list entry: whether it may be offered, its text
/// and its position in the list. The description is absent only when the
/// master data document gave none; a new record holds an empty text.
struct QVCONSUMER_EXPORT QVCBaseType {
    bool activeFlag = true;                                      ///< Whether the entry is offered.
    std::optional<std::string> typeDescription = std::string();  ///< The text shown for the entry.
    std::int64_t sortOrder = 0;                                  ///< Position in the list.
};
