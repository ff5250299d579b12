#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/QVCJSON.h"
#include "platform/QVCPlatformExport.h"
#include "platform/QVCResponse.h"

/// The httpMethod codes of requestWithPath.
enum QVCHTTPMethod : std::int64_t {
    QVCHTTPMethodGet = 0,   ///< a read without body
    QVCHTTPMethodPost = 1,  ///< a send carrying body
};

/// The verb a method code stands for: "GET", "POST", or "method N" for any other code.
std::string QVCHTTPMethodName(std::int64_t httpMethod);

/// Receives the one answer to a request.
using QVCResponseCompletion = std::function<void(const QVCResponse& response)>;

/// Performs the requests of the service. A host may supply its own; the
/// platform's default handler depends on the environment.
class QVCPLATFORM_EXPORT QVCWebServiceHandler {
public:
    virtual ~QVCWebServiceHandler() = default;

    /// Sends one request and reports its answer through completion, exactly once.
    ///
    /// path: relative to the service root, without a leading "/", may carry a query.
    /// httpMethod: QVCHTTPMethodGet (0) a read without body, QVCHTTPMethodPost (1) a send carrying body.
    /// contextMessageType: the message context ("consumers").
    /// headers: extra header fields, or none.
    /// body: the JSON object to send, or none.
    /// responseType: 0 for a JSON answer.
    /// simulateFilePath: the simulation file that may answer instead of the network, or none.
    /// completion: may run before this call returns or later, on any thread.
    virtual void requestWithPath(const std::string& path, std::int64_t httpMethod,
                                 const std::string& contextMessageType, const std::optional<QVCHeaders>& headers,
                                 const std::optional<QVCJSON>& body, std::int64_t responseType,
                                 const std::optional<std::string>& simulateFilePath,
                                 QVCResponseCompletion completion) = 0;
};
