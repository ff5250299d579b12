#pragma once

#include <stdexcept>
#include <string>

#include "platform/QVCPlatformExport.h"

/// Reads a whole file that the platform or a host program was pointed at.
class QVCPLATFORM_EXPORT QVCFileText {
public:
    /// Why a file could not be read, in one line that names the path, e.g.
    /// "\"/tmp/x\" is a directory, not a file". Callers prefix what the file is for.
    struct Unreadable : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    /// The contents of the regular file at path. Throws Unreadable when it is
    /// missing, not a regular file (a directory, a device, a pipe), cannot be
    /// opened or fails while it is read; nothing else escapes.
    static std::string read(const std::string& path);
};
