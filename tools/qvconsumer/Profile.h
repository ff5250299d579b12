#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "Present.h"

// A consumer profile as the tool shows and takes it: one flat JSON object
// whose members are the record's values, as the record holds them, under the
// names the tool gives them (the request document's keys where it has one).

/// The profile of consumer, every member the request documents write included.
Presented presentConsumer(const QVCConsumerInfo& consumer);

/// Sets the members of profile (a subset is enough) on consumer. Throws
/// Failure(ExitUsage) naming source and an unknown key or a value of the wrong kind.
void applyProfile(QVCConsumerInfo& consumer, const nlohmann::json& profile, const std::string& source);

/// Gives every absent text of consumer the empty text and every absent code
/// list the codes of a new record: a profile the update document can write.
void fillAbsentValues(QVCConsumerInfo& consumer);
