#pragma once

#include <cstdint>

#include "platform/QVCPlatformExport.h"

/// The merchant company the application acts for.
struct QVCPLATFORM_EXPORT QVCCompanyInfo {
    std::int64_t companyID = 0;  ///< The company's id.
};
