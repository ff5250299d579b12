#include "bench/BenchFiles.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/QVCAnswerDocument.h"

namespace qvcbench {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string simulatedAnswerBody(const std::string& simulationFile, const std::string& method, const std::string& path) {
    const std::string text = readFile(simulationFile);
    auto parsed = QVCAnswerDocument::parseCopyOf(text);
    if (!parsed.document) {
        throw std::runtime_error(simulationFile + " is not JSON: " + parsed.error);
    }
    const QVCJSON document = QVCAnswerDocument::toJSON(parsed.document->root());
    auto entries = document.find("entries");
    if (!document.is_object() || entries == document.end() || !entries->is_array()) {
        throw std::runtime_error(simulationFile + " has no list of entries");
    }
    for (const QVCJSON& entry : *entries) {
        if (entry.value("method", "") != method || entry.value("path", "") != path) {
            continue;
        }
        auto answer = entry.find("answer");
        if (answer != entry.end() && answer->is_object() && answer->contains("body")) {
            return (*answer)["body"].dump();
        }
    }
    throw std::runtime_error(simulationFile + " has no answer body for " + method + " " + path);
}

std::string shippedSimulationFile() {
    return QVC_BENCH_SIMULATION_FILE;
}

std::string peersFolder() {
    return QVC_BENCH_PEERS_DIR;
}

ProcessMemory readProcessMemory() {
    ProcessMemory memory;
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        const auto readKiB = [&line](const char* name) -> long {
            const std::string prefix = std::string(name) + ":";
            if (line.compare(0, prefix.size(), prefix) != 0) {
                return -1;
            }
            return std::stol(line.substr(prefix.size()));
        };
        if (long value = readKiB("VmRSS"); value >= 0) {
            memory.residentKiB = value;
        } else if (long peak = readKiB("VmHWM"); peak >= 0) {
            memory.peakKiB = peak;
        }
    }
    return memory;
}

}  // namespace qvcbench
