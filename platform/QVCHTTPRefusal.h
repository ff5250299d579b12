#pragma once

#include <optional>
#include <string>

#include "platform/QVCPlatformConfiguration.h"

/// Why no request can go to the configured service root (unusable settings,
/// no root, not a URL, a scheme other than http(s), plain http to a host that
/// is not loopback without allowPlainHTTP); none when requests may go.
std::optional<std::string> QVCHTTPRefusalOf(const QVCPlatformConfiguration& configuration);
