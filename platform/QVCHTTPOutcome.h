#pragma once

#include <string>

#include "platform/QVCPlatformConfiguration.h"
#include "platform/QVCPlatformExport.h"
#include "platform/QVCResponse.h"

/// How one attempt of a live request ended, as the curl loop saw it.
struct QVCPLATFORM_EXPORT QVCHTTPAttempt {
    enum class Ending {
        Answered,            ///< an answer came, of any status
        TooLarge,            ///< the answer outgrew maxAnswerBytes
        TimedOut,            ///< the connect or the whole attempt took too long
        CouldNotResolve,     ///< the host name did not resolve
        CouldNotConnect,     ///< no connection could be made
        ConnectionLost,      ///< the connection broke while sending or receiving
        PeerNotVerified,     ///< the service's certificate did not verify
        CABundleUnreadable,  ///< the certificate authorities could not be read
        Other,               ///< anything else; detail says what
    };

    std::string method;
    std::string path;
    Ending ending = Ending::Other;
    long status = 0;
    std::string received;
    QVCHeaders headers;
    /// Whether the request may have left the client (the attempt got past connecting).
    bool mayHaveBeenSent = false;
    /// Whether the connection was refused (CouldNotConnect).
    bool refused = false;
    /// libcurl's own words on the failure.
    std::string detail;
};

/// The answer an attempt makes, and whether another attempt may help.
struct QVCPLATFORM_EXPORT QVCHTTPOutcome {
    QVCResponse response;
    bool mayPass = false;

    /// Classifies attempt: a 2xx answer becomes the parsed body (an error
    /// when it is not JSON); another status an HTTPStatus error carrying the
    /// service's own message, which may pass for a GET after 429, 502, 503 or
    /// 504; a failure without answer the error of its kind. A POST that may
    /// have reached the service ends with OutcomeUnknown and is never tried
    /// again.
    static QVCHTTPOutcome of(QVCHTTPAttempt attempt, const QVCPlatformConfiguration& configuration);
};
