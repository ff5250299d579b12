#pragma once

#include <string>

namespace qvcbench {

/// The whole content of a file; throws std::runtime_error naming the file when it cannot be read.
std::string readFile(const std::string& path);
/// Replaces the file's content; throws std::runtime_error naming the file when it cannot be written.
void writeFile(const std::string& path, const std::string& content);

/// The body of the simulation file's entry for method and path (both compared
/// exactly, as written in the file), as compact JSON text. Throws
/// std::runtime_error when the file cannot be read or parsed or has no such
/// entry with a body.
std::string simulatedAnswerBody(const std::string& simulationFile, const std::string& method, const std::string& path);

/// The shipped simulation file of this source tree.
std::string shippedSimulationFile();
/// The folder holding the peer programs (decode.js, decode.py, e2e.js) of this source tree.
std::string peersFolder();

/// The process's resident memory from /proc/self/status, in KiB: VmRSS now
/// and VmHWM, the highest it has been. Zero when the line is missing.
struct ProcessMemory {
    long residentKiB = 0;
    long peakKiB = 0;
};
ProcessMemory readProcessMemory();

}  // namespace qvcbench
