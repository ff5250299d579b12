#pragma once

#include <map>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "Present.h"

namespace CLI {
class App;
}

// A consumer profile as the tool shows and takes it: one flat JSON object
// whose members are the record's values, as the record holds them, under the
// names the tool gives them (the request document's keys where it has one).

/// The profile of consumer, every member the request documents write included.
Presented presentConsumer(const QVCConsumerInfo& consumer);

/// Sets the members of profile (a subset is enough) on consumer. Throws
/// Failure(ExitUsage) naming source and an unknown key or a value of the wrong kind.
void applyProfile(QVCConsumerInfo& consumer, const nlohmann::json& profile, const std::string& source);

/// Gives every absent text of consumer the empty text (the "(null)" that a
/// reader keeps for a value the service left out too, as its JSON form, null,
/// does) and every absent code list the codes of a new record: a profile the
/// update document can write.
void fillAbsentValues(QVCConsumerInfo& consumer);

/// A profile given on the command line: a JSON file and the options of the
/// profile members that have one, by member name.
struct ProfileOptions {
    std::optional<std::string> file;
    std::map<std::string, std::optional<std::string>> given;
};

/// Declares --profile and one option per profile member that has one.
void addProfileOptions(CLI::App& command, ProfileOptions& options);

/// The profile file's members, then the options given. Throws
/// Failure(ExitUsage) when the file cannot be read or is not JSON.
nlohmann::json profileFrom(const ProfileOptions& options);

/// The source that applyProfile names for these options in its messages.
std::string profileSource(const ProfileOptions& options);
