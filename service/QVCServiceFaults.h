#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/QVCJSON.h"
#include "service/QVCServiceExchange.h"

/// Faults the reference service injects into the next requests that match a
/// method and a path pattern, so that clients can test their error handling.
/// A pattern is a literal prefix of the target (path and query, without the
/// leading "/"), or, when it holds "*" (any run of characters) or "?" (one
/// character), a glob that the whole target must match. Matching never
/// backtracks beyond the last "*", so its cost is bounded by the target's
/// length times the pattern's (at most maxPatternLength).
class QVCServiceFaults {
public:
    static constexpr std::size_t maxPatternLength = 256;

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
        std::string pattern;  ///< a literal prefix or a glob, see above
        int remaining = 1;
        Action action = Action::None;
        int status = 503;
        std::optional<std::string> retryAfter;
        int delayMs = 0;

        /// The answer that replaces the request when the fault keeps it from
        /// being applied (a status or a reset before the body); none otherwise.
        std::optional<QVCServiceAnswer> instead() const;
        /// Spoils the answer of a request that was applied, as the action says.
        void spoil(QVCServiceAnswer& answer) const;
    };

    /// Reads a fault from {"method", "path", "count", "action", "status",
    /// "retryAfter", "delayMs"}; throws std::invalid_argument naming the member at fault.
    static Fault parse(const QVCJSON& description);
    /// Whether target matches pattern (literal prefix or glob).
    static bool matches(const std::string& pattern, const std::string& target);

    void add(Fault fault);
    /// The fault for this request, counted against its remaining uses; none when none matches.
    std::optional<Fault> take(const std::string& method, const std::string& target);
    void clear();
    /// The faults still pending, as JSON.
    QVCJSON pending();

private:
    std::mutex mutex_;
    std::vector<Fault> faults_;
};
