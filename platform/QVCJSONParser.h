#pragma once

#include <optional>
#include <string>

#include "platform/QVCJSON.h"

/// Turns JSON text into the library's JSON values, with simdjson. Both the live
/// and the simulation transport parse with it. Each thread keeps its own parser,
/// so it may be called from any thread.
class QVCJSONParser {
public:
    struct Result {
        std::optional<QVCJSON> value;  ///< the document; none when the text is not JSON
        std::string error;             ///< why the text is not JSON; empty on success
    };

    /// Parses text. The string may be grown (never changed in content) to give
    /// the parser the padding it reads past the end, which avoids a copy.
    static Result parse(std::string& text);
    static Result parse(const std::string& text);
};
