#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/QVCPlatformExport.h"

/// An error record: why a request failed, or why the library refused an
/// operation. It holds one or more messages, the kind of failure and, when the
/// failure came with one, the HTTP status of the answer.
class QVCPLATFORM_EXPORT QVCErrorResponse {
public:
    /// What kind of failure this is, so that a host can branch on it instead of
    /// parsing message text.
    enum class Kind {
        General,         ///< refused by the library or reported by the service in an answer body
        Transport,       ///< the request could not be sent or the answer not read
        Timeout,         ///< no complete answer within the allowed time
        HTTPStatus,      ///< the service answered with an error status
        Cancelled,       ///< the request was cancelled before an answer came
        OutcomeUnknown,  ///< a send may have reached the service but no answer came
        PathRefused,     ///< the path is not one of the library's requests (see QVCRequestShapes); nothing was sent
    };

    /// An error record of the given messages, kind and HTTP status.
    QVCErrorResponse(std::vector<std::string> messages, Kind kind, std::optional<int> httpStatus);

    /// An error record of kind General holding the given messages.
    static std::shared_ptr<QVCErrorResponse> initWithErrorMessages(std::vector<std::string> messages);
    /// An error record of the given kind, with the answer's HTTP status when one is known.
    static std::shared_ptr<QVCErrorResponse> initWithErrorMessages(std::vector<std::string> messages, Kind kind,
                                                                   std::optional<int> httpStatus = std::nullopt);

    /// The messages, at least one.
    const std::vector<std::string>& errorMessages() const { return messages_; }
    /// What kind of failure this is.
    Kind kind() const { return kind_; }
    /// The HTTP status of the answer that failed, when one came.
    std::optional<int> httpStatus() const { return httpStatus_; }

    /// The messages joined by "; ", preceded by "HTTP <status>: " when a status is known.
    std::string description() const;

private:
    std::vector<std::string> messages_;
    Kind kind_;
    std::optional<int> httpStatus_;
};
