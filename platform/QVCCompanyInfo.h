#pragma once

#include <cstdint>

/// The merchant company the application acts for.
struct QVCCompanyInfo {
    std::int64_t companyID = 0;
};
