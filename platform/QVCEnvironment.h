#pragma once

#include <cstdint>

/// Where the platform's default web service handler sends requests.
enum QVCEnvironment : std::int64_t {
    QVCEnvironmentSimulation = 0,  ///< answers come from the simulation file
    QVCEnvironmentLive = 1,        ///< answers come from the service
};
