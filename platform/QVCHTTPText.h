#pragma once

#include <string>

/// Text helpers of the live transport.

/// Whether text holds a carriage return or a line feed.
bool QVCHasLineBreak(const std::string& text);
/// text without the spaces, tabs and line breaks at either end.
std::string QVCTrim(std::string text);
/// text on one line: each run of white space that holds a line break becomes one space.
std::string QVCOneLine(const std::string& text);
