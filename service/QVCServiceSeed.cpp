#include "service/QVCServiceSeed.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "service/QVCServiceDocuments.h"

namespace {

bool isPlaceholder(const std::string& segment) {
    return segment.size() >= 2 && segment.front() == '{' && segment.back() == '}';
}

std::optional<std::int64_t> integerOf(const std::string& text) {
    return QVCServiceDocuments::wholeNumber(QVCJSON(text));
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != std::string::npos; start = end + 1) {
        parts.push_back(text.substr(start, end - start));
    }
    parts.push_back(text.substr(start));
    return parts;
}

/// A number, or a text of digits, as an integer: ids and points may be written either way.
QVCJSON integerValue(const QVCJSON& value, const char* key) {
    if (const auto number = QVCServiceDocuments::wholeNumber(value)) {
        return *number;
    }
    throw std::runtime_error(std::string("\"") + key + "\" is not a whole number: " + value.dump());
}

/// The first answer of an entry that was not an error, or null.
QVCJSON answerBody(const QVCJSON& entry) {
    const QVCJSON answer = entry.contains("answers") ? entry.at("answers").at(0) : entry.value("answer", QVCJSON());
    if (!answer.is_object() || answer.value("status", 200) >= 400) {
        return QVCJSON();
    }
    return answer.value("body", QVCJSON());
}

/// The facility of an offer list query: its value, or null for a placeholder or none.
QVCJSON facilityOf(const std::string& query) {
    for (const auto& parameter : split(query, '&')) {
        if (parameter.rfind("facilityId=", 0) == 0) {
            const auto id = integerOf(parameter.substr(11));
            return id ? QVCJSON(*id) : QVCJSON();
        }
    }
    return QVCJSON();
}

}  // namespace

QVCJSON QVCServiceSeed::fromFile(const std::string& path) {
    std::error_code error;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!std::filesystem::is_regular_file(path, error) || !(text << file.rdbuf())) {
        throw std::runtime_error("seed file \"" + path + "\" cannot be read (missing, not a file, or unreadable)");
    }
    try {
        return fromSimulation(QVCJSON::parse(text.str()));
    } catch (const std::exception& failure) {
        throw std::runtime_error("seed file \"" + path + "\": " + failure.what());
    }
}

QVCJSON QVCServiceSeed::fromSimulation(const QVCJSON& simulation) {
    QVCJSON seed = {{"masterData", QVCJSON::object()},
                    {"consumers", QVCJSON::array()},
                    {"balances", QVCJSON::array()},
                    {"offers", QVCJSON::array()}};
    std::optional<QVCJSON> everyonesBalance;
    for (const auto& entry : simulation.at("entries")) {
        const QVCJSON body = answerBody(entry);
        if (entry.at("method") != "GET" || body.is_null()) {
            continue;
        }
        const auto target = split(entry.at("path").get<std::string>(), '?');
        const auto segments = split(target[0], '/');
        const std::string query = target.size() > 1 ? target[1] : "";
        if (target[0] == "lqsapi/consumers/v1/data") {
            seed["masterData"] = body.at("consumerRs");
        } else if (segments.size() == 6 && segments[3] == "consumer" && segments[5] == "authenticate" &&
                   !isPlaceholder(segments[4])) {
            for (const auto& consumer : body.at("consumers")) {
                seed["consumers"].push_back(consumer);
                seed["consumers"].back()["consumerId"] = integerValue(consumer.at("consumerId"), "consumerId");
            }
        } else if (segments.size() == 7 && segments[3] == "consumer" && segments[5] == "balance") {
            const auto& entryRs = body.at("consumerRs").at(0);
            const auto& statuses = entryRs.value("loyaltyConsumerStatusResponse", QVCJSON::array());
            QVCJSON balance = {{"points", integerValue(entryRs.at("loyaltyPoints"), "loyaltyPoints")}};
            if (!statuses.empty()) {
                balance["status"] = statuses.at(0).at("description");
            }
            if (const auto id = integerOf(segments[4])) {
                balance["consumerId"] = *id;
                seed["balances"].push_back(balance);
            } else {
                everyonesBalance = balance;
            }
        } else if (segments.size() >= 6 && segments[3] == "consumers" && segments[5] == "offers") {
            const QVCJSON facility = facilityOf(query);
            for (const auto& offer : body.is_array() ? body : QVCJSON::array({body})) {
                seed["offers"].push_back({{"facilityId", facility}, {"document", offer}});
            }
        }
    }
    if (everyonesBalance) {
        for (const auto& consumer : seed["consumers"]) {
            const auto id = consumer.at("consumerId");
            bool hasOwn = false;
            for (const auto& balance : seed["balances"]) {
                hasOwn = hasOwn || balance.at("consumerId") == id;
            }
            if (!hasOwn) {
                seed["balances"].push_back(*everyonesBalance);
                seed["balances"].back()["consumerId"] = id;
            }
        }
    }
    return seed;
}

std::optional<std::string> QVCServiceSeed::shippedFile(const std::string& resourcesFromProgram) {
    std::error_code error;
    std::filesystem::path folder;
    if (const char* chosen = std::getenv("QVCONSUMER_RESOURCE_DIR")) {
        folder = chosen;
    } else {
        folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / resourcesFromProgram;
    }
    const auto file = folder / "QVConsumerSimulate.json";
    if (error || !std::filesystem::is_regular_file(file, error)) {
        return std::nullopt;
    }
    return std::filesystem::absolute(file, error).lexically_normal().string();
}
