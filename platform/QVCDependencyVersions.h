#pragma once

#include <string>

#include "platform/QVCPlatformExport.h"

/// The versions of the libraries the platform runs on, for diagnostics
/// (qvconsumer --version).
class QVCPLATFORM_EXPORT QVCDependencyVersions {
public:
    /// libcurl's version as the loaded library reports it, with its TLS
    /// library, e.g. "7.88.1 (OpenSSL/3.0.11)".
    static std::string libcurl();
    /// simdjson's version and the implementation it chose for this processor,
    /// e.g. "3.0.1 (haswell)".
    static std::string simdjson();
};
