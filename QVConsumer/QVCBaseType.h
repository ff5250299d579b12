#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The common part of a code-list entry: whether it may be offered, its text
/// and its position in the list. The description is absent only when the
/// master data document gave none; a new record holds an empty text.
struct QVCBaseType {
    bool activeFlag = true;
    std::optional<std::string> typeDescription = std::string();
    std::int64_t sortOrder = 0;
};
