#pragma once

#include <nlohmann/json.hpp>

/// The one type of the in-memory JSON values that request bodies and answer
/// bodies are made of. It tells an absent key (no member) from a null member,
/// a text from a number and an array from an object. Objects keep their keys
/// sorted, so a serialised body lists its members in key order.
using QVCJSON = nlohmann::json;
