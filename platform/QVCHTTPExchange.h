#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "platform/QVCPlatformExport.h"

/// One attempt of a live request as the HTTP transport saw it, handed to the
/// configuration's trace hook. It carries no header, so never the app key.
struct QVCPLATFORM_EXPORT QVCHTTPExchange {
    std::string method;
    std::string url;
    /// The answer's status; none when no answer came (refused, timed out, ...).
    std::optional<int> status;
    /// Why the attempt failed, when it did ("" for a 2xx answer).
    std::string failure;
    std::chrono::milliseconds elapsed{0};
    std::size_t bytesSent = 0;
    std::size_t bytesReceived = 0;
};
