// The reference service's request handling, driven in process without a
// socket: the service is seeded from the shipped simulation file, and each
// input is one request with the application's credentials and a loopback
// Host. Byte 0 picks the method (bit 0: GET or POST) and the root (bit 1:
// "/__admin/", else "/lqsapi/"); up to the first newline follows the target
// below that root (bytes outside printable ASCII percent-encoded); the rest
// is the body. Every request must be answered with a body and a status other
// than 500 (but for a fault an input injected), and no exception may leave
// the service. POST /__admin/reset is skipped: reloading the seed each time
// would slow the fuzzer to a crawl.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "service/QVCReferenceService.h"
#include "service/QVCServiceSeed.h"

namespace {

QVCReferenceService& service() {
    static QVCReferenceService service([] {
        QVCReferenceService::Options given;
        given.seed = QVCServiceSeed::fromFile(QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json");
        given.appID = "fuzz-app";
        given.appKey = "fuzz-key";
        return given;
    }());
    return service;
}

std::string targetFrom(const char* root, std::string_view text) {
    std::string target = root;
    for (const unsigned char c : text) {
        if (c > 0x20 && c < 0x7f) {
            target += static_cast<char>(c);
        } else {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", c);
            target += escaped;
        }
    }
    return target;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string_view text = fuzzText(data + 1, size - 1);
    const auto newline = text.find('\n');
    QVCServiceRequest request;
    request.method = data[0] % 2 == 1 ? "POST" : "GET";
    request.target = targetFrom(data[0] & 2 ? "/__admin/" : "/lqsapi/", text.substr(0, newline));
    if (request.method == "POST" && request.target.rfind("/__admin/reset", 0) == 0) {
        return 0;
    }
    request.body = std::string(newline == std::string_view::npos ? "" : text.substr(newline + 1));
    request.headers = {{"X-App-Id", "fuzz-app"},
                       {"X-App-Key", "fuzz-key"},
                       {"Host", "127.0.0.1"},
                       {"Content-Type", "application/json"},
                       {"Content-Length", std::to_string(request.body.size())}};
    const auto answer = service().handle(request);
    const bool injected = answer.body.find("injected fault") != std::string::npos;
    if ((answer.status == 500 && !injected) || answer.body.empty()) {
        fuzzFinding("answer " + std::to_string(answer.status) + " to " + request.target + ": " + answer.body);
    }
    return 0;
}
