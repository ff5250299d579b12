#include "service/QVCServiceFaults.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "service/QVCServiceDocuments.h"

namespace {

using Action = QVCServiceFaults::Action;
using Fault = QVCServiceFaults::Fault;
using Delivery = QVCServiceAnswer::Delivery;

/// Each action with its name, whether the request is still applied, and how the connection delivers the answer.
struct Kind {
    Action action;
    const char* name;
    bool applied;
    Delivery delivery;
};

constexpr std::array<Kind, 6> kinds{{
    {Action::None, "none", true, Delivery::Whole},
    {Action::Status, "status", false, Delivery::Whole},
    {Action::ResetBeforeBody, "reset-before-body", false, Delivery::ResetBeforeBody},
    {Action::ResetAfterBody, "reset-after-body", true, Delivery::ResetAfterBody},
    {Action::Truncate, "truncate", true, Delivery::Truncate},
    {Action::NotJSON, "not-json", true, Delivery::Whole},
}};

const Kind& kindOf(Action action) {
    return *std::find_if(kinds.begin(), kinds.end(), [&](const Kind& kind) { return kind.action == action; });
}

/// The integer member key of description within low..limit, or fallback when it is absent.
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

std::string textMember(const QVCJSON& description, const char* key, const char* fallback) {
    const QVCJSON value = description.value(key, QVCJSON(fallback));
    if (!value.is_string()) {
        throw std::invalid_argument(std::string("\"") + key + "\" must be a text");
    }
    return value.get<std::string>();
}

/// Glob match of the whole text: "*" any run, "?" one character. On a
/// mismatch only the last "*" takes one more character, so no position pair is
/// tried twice for the same star.
bool globMatches(const std::string& pattern, const std::string& text) {
    std::size_t p = 0, t = 0, star = std::string::npos, resume = 0;
    while (t < text.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
            ++p, ++t;
        } else if (p < pattern.size() && pattern[p] == '*') {
            star = p++, resume = t;
        } else if (star != std::string::npos) {
            p = star + 1, t = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') {
        ++p;
    }
    return p == pattern.size();
}

}  // namespace

std::optional<QVCServiceAnswer> Fault::instead() const {
    if (kindOf(action).applied) {
        return std::nullopt;
    }
    QVCServiceAnswer answer = QVCServiceDocuments::refusal(status, "injected fault");
    if (retryAfter) {
        answer.headers.emplace_back("Retry-After", *retryAfter);
    }
    answer.delivery = kindOf(action).delivery;
    return answer;
}

void Fault::spoil(QVCServiceAnswer& answer) const {
    answer.delivery = kindOf(action).delivery;
    if (action == Action::NotJSON) {
        answer.contentType = "text/html";
        answer.body = "<html><body>502 Bad Gateway</body></html>";
    }
}

bool QVCServiceFaults::matches(const std::string& pattern, const std::string& target) {
    if (pattern.find_first_of("*?") == std::string::npos) {
        return target.compare(0, pattern.size(), pattern) == 0;
    }
    return globMatches(pattern, target);
}

QVCServiceFaults::Fault QVCServiceFaults::parse(const QVCJSON& description) {
    if (!description.is_object()) {
        throw std::invalid_argument("a fault must be a JSON object");
    }
    Fault fault;
    fault.method = textMember(description, "method", "*");
    if (fault.method != "GET" && fault.method != "POST" && fault.method != "*") {
        throw std::invalid_argument("\"method\" must be \"GET\", \"POST\" or \"*\"");
    }
    fault.pattern = textMember(description, "path", "");
    if (fault.pattern.size() > maxPatternLength) {
        throw std::invalid_argument("\"path\" is longer than " + std::to_string(maxPatternLength) + " characters");
    }
    fault.remaining = bounded(description, "count", 1, 1, 1000000);
    fault.delayMs = bounded(description, "delayMs", 0, 0, 600000);
    fault.status = bounded(description, "status", 503, 100, 599);
    const std::string action = textMember(description, "action", description.contains("status") ? "status" : "none");
    const auto named = std::find_if(kinds.begin(), kinds.end(), [&](const Kind& kind) { return action == kind.name; });
    if (named == kinds.end()) {
        throw std::invalid_argument("unknown \"action\": " + action);
    }
    fault.action = named->action;
    if (description.contains("retryAfter")) {
        const auto& retryAfter = description.at("retryAfter");
        fault.retryAfter = retryAfter.is_string() ? retryAfter.get<std::string>() : retryAfter.dump();
    }
    return fault;
}

void QVCServiceFaults::add(Fault fault) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.push_back(std::move(fault));
}

std::optional<QVCServiceFaults::Fault> QVCServiceFaults::take(const std::string& method, const std::string& target) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = faults_.begin(); it != faults_.end(); ++it) {
        if ((it->method == "*" || it->method == method) && matches(it->pattern, target)) {
            Fault taken = *it;
            if (--it->remaining == 0) {
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
    for (const auto& fault : faults_) {
        QVCJSON entry = {{"method", fault.method},   {"path", fault.pattern},
                         {"count", fault.remaining}, {"action", kindOf(fault.action).name},
                         {"status", fault.status},   {"delayMs", fault.delayMs}};
        if (fault.retryAfter) {
            entry["retryAfter"] = *fault.retryAfter;
        }
        list.push_back(entry);
    }
    return list;
}
