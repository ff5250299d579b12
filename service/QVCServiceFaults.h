#pragma once

#include <mutex>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "platform/QVCJSON.h"

/// Faults the reference service injects into the next requests that match a
/// method and a path pattern, so that clients can test their error handling.
class QVCServiceFaults {
public:
    /// What happens to a matching request.
    enum class Action {
        None,             ///< answered normally (after the delay, if any)
        Status,           ///< answered with the status (and Retry-After), not applied
        ResetBeforeBody,  ///< connection reset before the request body is read; not applied
        ResetAfterBody,   ///< applied, then the connection is reset instead of the answer
        Truncate,         ///< applied, the answer body cut off half-way and the connection closed
        NotJSON,          ///< applied, answered with a body that is not JSON
    };

    struct Fault {
        std::string method;   ///< "GET", "POST" or "*"
        std::string pattern;  ///< ECMAScript regular expression searched in the path
        int remaining = 1;
        Action action = Action::None;
        int status = 503;
        std::optional<std::string> retryAfter;
        int delayMs = 0;
    };

    /// Reads a fault from {"method", "path", "count", "action", "status",
    /// "retryAfter", "delayMs"}; throws std::invalid_argument naming the member at fault.
    static Fault parse(const QVCJSON& description);

    void add(Fault fault);
    /// The fault for this request, counted against its remaining uses; none when none matches.
    std::optional<Fault> take(const std::string& method, const std::string& path);
    void clear();
    /// The faults still pending, as JSON.
    QVCJSON pending();

private:
    std::mutex mutex_;
    std::vector<std::pair<Fault, std::regex>> faults_;
};
