#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One request as the reference service sees it, without a socket: the HTTP
/// layer fills it from the wire, the fuzz harness and in-process callers fill
/// it directly.
struct QVCServiceRequest {
    std::string method;  ///< "GET", "POST", "HEAD", ...
    std::string target;  ///< as sent: "/lqsapi/...?query"
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    /// The first value of the header name (compared without case); none when absent.
    std::optional<std::string> header(const std::string& name) const;
    /// The target's path, percent-decoded, with its leading "/".
    std::string path() const;
    /// The query parameter name of the target, percent-decoded ("+" as a space); none when absent.
    std::optional<std::string> query(const std::string& name) const;
};

/// The answer to one request, and what the connection does with it.
struct QVCServiceAnswer {
    /// How the connection delivers the answer (the effect of an injected fault).
    enum class Delivery {
        Whole,            ///< the answer as it stands
        ResetBeforeBody,  ///< the connection reset before the body is read; no answer
        ResetAfterBody,   ///< the connection reset instead of the answer
        Truncate,         ///< half of the body, then the connection closed
    };

    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string contentType = "application/json";
    std::string body;
    Delivery delivery = Delivery::Whole;
    int delayMs = 0;  ///< a wait before the request is handled
};
