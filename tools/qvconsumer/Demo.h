#pragma once

#include <string>

#include "Session.h"

/// Tells one shopper's journey step by step on stdout; answeredBy names
/// what answers it in the opening line.
void tellJourney(Session& session, const std::string& answeredBy);
