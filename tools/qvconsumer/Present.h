#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "QVConsumer/QVConsumerManager.h"

/// How the tool presents records: as JSON objects whose members keep their
/// order. The readable output is printed from the same presentation, so both
/// forms always show the same values.
using Presented = nlohmann::ordered_json;

/// A text as the record holds it; absent is null, and so is "(null)", the
/// text the library's readers keep for a value the service left out.
Presented presentText(const std::optional<std::string>& value);
/// An id held as text (the manager's consumer id) as the number it is, as
/// records hold ids; null when absent or not a whole number.
Presented presentID(const std::optional<std::string>& id);
Presented presentMasterData(const QVCMasterData& masterData);
Presented presentOffer(const QVCOffer& offer);
Presented presentProduct(const QVCProduct& product);

/// A text value for readable output: absent (and the "(null)" text) shows as "-".
std::string shown(const std::optional<std::string>& text);
std::string shown(const Presented& value);

/// Prints an object's members as aligned "key: value" lines (nested values as JSON).
void printFields(std::ostream& out, const Presented& object);
/// Prints an offer's members as fields and its products as a table.
void printOffer(std::ostream& out, const Presented& offer);
/// Prints a list of offers as a table.
void printOfferTable(std::ostream& out, const Presented& offers, const std::string& indent = "");
/// Prints the master data as one titled table per list.
void printMasterData(std::ostream& out, const Presented& masterData);
