#pragma once

#include <string>

#include "platform/QVCResponse.h"

namespace qvcbench {

/// The response a transport hands to the library for an answer whose body is
/// text: the parsed body, no header fields, and an error record when the text
/// is not JSON. This is the one place the benchmarks turn answer text into a
/// QVCResponse, so that a change in how the platform makes responses is made
/// here once. The text is taken by value because the parser may grow it to
/// give itself padding.
QVCResponse responseFromText(std::string text);

}  // namespace qvcbench
