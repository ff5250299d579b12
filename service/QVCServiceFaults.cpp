#include "service/QVCServiceFaults.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace {

using Action = QVCServiceFaults::Action;

constexpr std::array<std::pair<Action, const char*>, 6> actionNames{{{Action::None, "none"},
                                                                     {Action::Status, "status"},
                                                                     {Action::ResetBeforeBody, "reset-before-body"},
                                                                     {Action::ResetAfterBody, "reset-after-body"},
                                                                     {Action::Truncate, "truncate"},
                                                                     {Action::NotJSON, "not-json"}}};

const char* nameOf(Action action) {
    for (const auto& [known, name] : actionNames) {
        if (known == action) {
            return name;
        }
    }
    return "none";
}

/// The integer member key of description within 0..limit, or fallback when it is absent.
int bounded(const QVCJSON& description, const char* key, int fallback, int low, int limit) {
    if (!description.contains(key)) {
        return fallback;
    }
    const auto& value = description.at(key);
    if (!value.is_number_integer() || value.get<long long>() < low || value.get<long long>() > limit) {
        throw std::invalid_argument(std::string("\"") + key + "\" must be a whole number from " + std::to_string(low) +
                                    " to " + std::to_string(limit));
    }
    return value.get<int>();
}

}  // namespace

QVCServiceFaults::Fault QVCServiceFaults::parse(const QVCJSON& description) {
    if (!description.is_object()) {
        throw std::invalid_argument("a fault must be a JSON object");
    }
    Fault fault;
    fault.method = description.value("method", "*");
    if (fault.method != "GET" && fault.method != "POST" && fault.method != "*") {
        throw std::invalid_argument("\"method\" must be \"GET\", \"POST\" or \"*\"");
    }
    fault.pattern = description.value("path", "");
    try {
        std::regex check(fault.pattern);
    } catch (const std::regex_error&) {
        throw std::invalid_argument("\"path\" is not a regular expression: " + fault.pattern);
    }
    fault.remaining = bounded(description, "count", 1, 1, 1000000);
    fault.delayMs = bounded(description, "delayMs", 0, 0, 600000);
    fault.status = bounded(description, "status", 503, 100, 599);
    const std::string action = description.value("action", description.contains("status") ? "status" : "none");
    const auto named =
        std::find_if(actionNames.begin(), actionNames.end(), [&](const auto& known) { return action == known.second; });
    if (named == actionNames.end()) {
        throw std::invalid_argument("unknown \"action\": " + action);
    }
    fault.action = named->first;
    if (description.contains("retryAfter")) {
        const auto& retryAfter = description.at("retryAfter");
        fault.retryAfter = retryAfter.is_string() ? retryAfter.get<std::string>() : retryAfter.dump();
    }
    return fault;
}

void QVCServiceFaults::add(Fault fault) {
    std::lock_guard<std::mutex> lock(mutex_);
    std::regex pattern(fault.pattern);
    faults_.emplace_back(std::move(fault), std::move(pattern));
}

std::optional<QVCServiceFaults::Fault> QVCServiceFaults::take(const std::string& method, const std::string& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = faults_.begin(); it != faults_.end(); ++it) {
        auto& [fault, pattern] = *it;
        if ((fault.method == "*" || fault.method == method) && std::regex_search(path, pattern)) {
            Fault taken = fault;
            if (--fault.remaining == 0) {
                faults_.erase(it);
            }
            return taken;
        }
    }
    return std::nullopt;
}

void QVCServiceFaults::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.clear();
}

QVCJSON QVCServiceFaults::pending() {
    std::lock_guard<std::mutex> lock(mutex_);
    QVCJSON list = QVCJSON::array();
    for (const auto& [fault, pattern] : faults_) {
        QVCJSON entry = {{"method", fault.method},         {"path", fault.pattern},  {"count", fault.remaining},
                         {"action", nameOf(fault.action)}, {"status", fault.status}, {"delayMs", fault.delayMs}};
        if (fault.retryAfter) {
            entry["retryAfter"] = *fault.retryAfter;
        }
        list.push_back(entry);
    }
    return list;
}
