#pragma once

#include <string>

#include "Session.h"

/// Tells one shopper's journey step by step on stdout; answeredBy names
/// what answers it in the opening line.
void tellJourney(Session& session, const std::string& answeredBy);

/// Starts a reference service in-process on a free loopback port, with its
/// state in memory and seeded from the session's simulation file, tells the
/// journey to it over HTTP with the session's other options, and stops it.
/// Refused (Failure, ExitUsage) when this build has no reference service.
void tellJourneyLive(Session& session);
