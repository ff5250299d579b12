#include "platform/QVCHTTPOutcome.h"

#include <memory>
#include <optional>
#include <utility>

#include "platform/QVCAnswerDocument.h"
#include "platform/QVCHTTPText.h"

namespace {

using Kind = QVCErrorResponse::Kind;
using Ending = QVCHTTPAttempt::Ending;

QVCResponse failure(const QVCHTTPAttempt& attempt, const std::string& message, Kind kind,
                    std::optional<int> status = std::nullopt, std::shared_ptr<const QVCAnswerDocument> body = nullptr,
                    QVCHeaders headers = {}) {
    return QVCResponse(
        std::move(body), std::move(headers),
        QVCErrorResponse::initWithErrorMessages({attempt.method + " " + attempt.path + ": " + message}, kind, status));
}

/// The service's own explanation in an error answer, when it gives one, else
/// the start of the answer's text; on one line either way.
std::string serviceMessage(const std::shared_ptr<const QVCAnswerDocument>& body, const std::string& text) {
    if (body) {
        for (const char* key : {"message", "errorMessage", "error", "description"}) {
            auto found = QVCAnswerDocument::find(body->root(), key);
            if (found && found->is_string()) {
                return QVCOneLine(std::string(std::string_view(*found)));
            }
        }
        return {};
    }
    return QVCOneLine(text.substr(0, 200));
}

QVCHTTPOutcome answered(QVCHTTPAttempt& attempt) {
    const long status = attempt.status;
    const bool success = status >= 200 && status < 300;
    std::shared_ptr<const QVCAnswerDocument> body;
    std::string parseError;
    if (!attempt.received.empty()) {
        // A successful answer's text is not needed once parsed; an error's may explain itself.
        auto parsed = success ? QVCAnswerDocument::parse(std::move(attempt.received))
                              : QVCAnswerDocument::parseCopyOf(attempt.received);
        body = std::move(parsed.document);
        parseError = std::move(parsed.error);
    }
    if (success) {
        if (!parseError.empty()) {
            return {failure(attempt, "answer is not JSON (" + parseError + ")", Kind::Transport,
                            static_cast<int>(status), nullptr, attempt.headers),
                    false};
        }
        return {QVCResponse(std::move(body), std::move(attempt.headers), nullptr), false};
    }
    std::string message = "the service answered with status " + std::to_string(status);
    std::string says = serviceMessage(body, attempt.received);
    if (!says.empty()) {
        message += ": " + says;
    }
    const bool transient = status == 429 || status == 502 || status == 503 || status == 504;
    return {failure(attempt, message, Kind::HTTPStatus, static_cast<int>(status), std::move(body), attempt.headers),
            attempt.method == "GET" && transient};
}

const char* const mayHaveReached = "; the request may have reached the service: check before sending it again";

QVCHTTPOutcome timedOut(const QVCHTTPAttempt& attempt, const QVCPlatformConfiguration& configuration) {
    const bool get = attempt.method == "GET";
    if (!get && attempt.mayHaveBeenSent) {
        return {
            failure(attempt, "timed out after " + std::to_string(configuration.totalTimeoutMs) + " ms" + mayHaveReached,
                    Kind::OutcomeUnknown),
            false};
    }
    const long limit = attempt.mayHaveBeenSent ? configuration.totalTimeoutMs : configuration.connectTimeoutMs;
    return {failure(attempt, "timed out after " + std::to_string(limit) + " ms", Kind::Timeout),
            get || !attempt.mayHaveBeenSent};
}

QVCHTTPOutcome connectionLost(const QVCHTTPAttempt& attempt) {
    if (attempt.method != "GET" && attempt.mayHaveBeenSent) {
        return {failure(attempt,
                        "the connection was lost after the request was sent (" + attempt.detail + ")" + mayHaveReached,
                        Kind::OutcomeUnknown),
                false};
    }
    return {failure(attempt, "the connection was lost (" + attempt.detail + ")", Kind::Transport), true};
}

/// A failure that no other attempt mends; the certificate failures say what to check.
QVCResponse lasting(const QVCHTTPAttempt& attempt, const QVCPlatformConfiguration& configuration) {
    std::string caBundle = std::string("caBundlePath (") + QVCPlatformConfiguration::caBundleVariable + ")";
    if (attempt.ending == Ending::PeerNotVerified) {
        return failure(attempt,
                       "the service's certificate could not be verified (" + attempt.detail +
                           "): check that the service root URL names a host the certificate is made for, "
                           "and if the certificate authority that signed it is not one this system trusts, "
                           "set " +
                           caBundle + " to a PEM file holding it",
                       Kind::Transport);
    }
    if (attempt.ending == Ending::CABundleUnreadable) {
        return failure(attempt,
                       "the certificate authorities could not be read from " +
                           configuration.caBundlePath.value_or("the system's store") + " (" + attempt.detail +
                           "): set " + caBundle + " to a readable PEM file",
                       Kind::Transport);
    }
    return failure(attempt, attempt.detail, Kind::Transport);
}

}  // namespace

QVCHTTPOutcome QVCHTTPOutcome::of(QVCHTTPAttempt attempt, const QVCPlatformConfiguration& configuration) {
    switch (attempt.ending) {
        case Ending::Answered: return answered(attempt);
        case Ending::TooLarge:
            return {failure(attempt, "answer larger than " + std::to_string(configuration.maxAnswerBytes) + " bytes",
                            Kind::Transport),
                    false};
        case Ending::TimedOut: return timedOut(attempt, configuration);
        case Ending::CouldNotResolve:
            return {failure(attempt, "could not resolve the service's host", Kind::Transport), true};
        case Ending::CouldNotConnect:
            return {
                failure(attempt, attempt.refused ? "connection refused" : "could not connect (" + attempt.detail + ")",
                        Kind::Transport),
                true};
        case Ending::ConnectionLost: return connectionLost(attempt);
        default: return {lasting(attempt, configuration), false};
    }
}
