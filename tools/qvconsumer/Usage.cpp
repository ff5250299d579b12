#include "Usage.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

/// Edits (insertions, deletions, replacements) that turn a into b.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

/// The long option names of app and of the command that was chosen, if any.
std::vector<std::string> optionNames(const CLI::App& app) {
    std::vector<const CLI::App*> scopes = {&app};
    for (const CLI::App* chosen : app.get_subcommands()) {
        scopes.push_back(chosen);
    }
    std::vector<std::string> names;
    for (const CLI::App* scope : scopes) {
        for (const CLI::Option* option : scope->get_options()) {
            for (const auto& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

std::string oneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return text;
}

/// The message for a word the parser did not expect: an unknown command or
/// option, with the one probably meant, or an extra argument of the command.
std::string unexpected(const CLI::App& app, const std::string& word) {
    const bool option = word.rfind('-', 0) == 0;
    if (!option && !app.get_subcommands().empty()) {
        return app.get_subcommands().front()->get_name() + ": unexpected argument \"" + word + "\"";
    }
    const std::string name = option ? word.substr(0, word.find('=')) : word;
    const std::string meant = closestTo(name, option ? optionNames(app) : commandNames(app));
    std::string message = std::string("unknown ") + (option ? "option" : "command") + " \"" + name + "\"";
    return message + (meant.empty() ? " (qvconsumer help lists them)" : ". Did you mean \"" + meant + "\"?");
}

}  // namespace

std::string closestTo(const std::string& word, const std::vector<std::string>& candidates) {
    std::string best;
    std::size_t bestDistance = std::max<std::size_t>(2, word.size() / 3) + 1;
    for (const auto& candidate : candidates) {
        const bool prefix = word.size() >= 3 && candidate.rfind(word, 0) == 0;
        const std::size_t distance = prefix ? 1 : editDistance(word, candidate);
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}

std::string usageError(const CLI::App& app, const CLI::ParseError& error) {
    const std::string text = oneLine(error.what());
    if (dynamic_cast<const CLI::ExtrasError*>(&error)) {
        // "The following arguments were not expected: WORDS", the first last.
        const std::string words = text.substr(text.find(": ") + 2);
        return unexpected(app, words.substr(words.rfind(' ') + 1));
    }
    // A missing or malformed argument of a command names the command.
    const auto chosen = app.get_subcommands();
    const bool ofCommand =
        dynamic_cast<const CLI::RequiredError*>(&error) || dynamic_cast<const CLI::ArgumentMismatch*>(&error);
    return (ofCommand && !chosen.empty() ? chosen.front()->get_name() + ": " : "") + text;
}
