#pragma once

#include <optional>
#include <string>

#include "platform/QVCJSON.h"

/// Turns a file in the simulation format (docs/simulation.md) into the seed
/// of a QVCServiceStore: the reference lists of "lqsapi/consumers/v1/data",
/// every consumer document of a ".../consumer/<name>/authenticate" answer,
/// the balance of ".../consumer/<id>/balance/loyalty" (a "{placeholder}" id
/// gives that balance to every seeded consumer without one of its own), and
/// every offer document of the offer answers (a "{placeholder}" facility
/// makes the offer available at every facility). Answers with a status of
/// 400 or more are skipped.
class QVCServiceSeed {
public:
    /// Throws std::runtime_error naming the file when it cannot be read or is not in that format.
    static QVCJSON fromFile(const std::string& path);
    static QVCJSON fromSimulation(const QVCJSON& simulation);
    /// The shipped QVConsumerSimulate.json: in the folder named by
    /// QVCONSUMER_RESOURCE_DIR when that is set, else in the installed data
    /// folder found from the running program (resourcesFromProgram, relative
    /// to its folder); none when it is not there.
    static std::optional<std::string> shippedFile(const std::string& resourcesFromProgram);
};
