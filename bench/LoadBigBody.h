#pragma once
// Sends a 1 GiB body without credentials and watches the resident memory of
// the process that serves it while it refuses the request.
#include <cstdint>
#include <string>

namespace qvcbench {

struct BigBodyResult {
    int status = 0;              ///< the answer's status, 0 when none came
    long long bytesSent = 0;     ///< body bytes the peer took before it refused
    long long rssGrowthKiB = 0;  ///< the largest VmRSS seen, less the one before
};

/// VmRSS of a process in KiB; 0 when it cannot be read.
long long residentKiB(int pid);

BigBodyResult sendBigBody(uint16_t port, int servicePid, const std::string& path);

}  // namespace qvcbench
