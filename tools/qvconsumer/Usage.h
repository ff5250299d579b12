#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

/// The closest of candidates to word, when one is close enough to be what
/// was meant (a typo or a prefix); empty otherwise.
std::string closestTo(const std::string& word, const std::vector<std::string>& candidates);

/// A command-line error as one line, without the "qvconsumer: " prefix: the
/// parser's message, the command it concerns, and for an unknown command or
/// option the one that was probably meant ("Did you mean ...").
std::string usageError(const CLI::App& app, const CLI::ParseError& error);
