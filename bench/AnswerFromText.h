#pragma once

#include <string>
#include <string_view>

#include "platform/QVCResponse.h"

namespace qvcbench {

/// The response a transport hands to the library for an answer whose body is
/// text: the parsed body, no header fields, and an error record when the text
/// is not JSON. This is the one place the benchmarks turn answer text into a
/// QVCResponse, so that a change in how the platform makes responses is made
/// here once.
///
/// Text given away (as a transport gives the bytes it received) may be parsed
/// where it is.
QVCResponse responseFromText(std::string text);
/// Text the caller keeps (as the peers keep theirs between iterations) is
/// copied into the parser's own padded buffer.
QVCResponse responseFromKeptText(std::string_view text);

}  // namespace qvcbench
