// The reference service's request handling: the service runs in this process
// on a loopback port, seeded from the shipped simulation file, and each input
// is one request with the application's credentials. Byte 0 picks GET (even)
// or POST (odd); up to the first newline follows the path below "/lqsapi/"
// (bytes outside printable ASCII percent-encoded), the rest is the body.
// Every request must be answered, and never with 500: that is what the HTTP
// server makes of an exception the service's handlers let escape.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include <httplib.h>

#include "FuzzSupport.h"
#include "service/QVCReferenceService.h"
#include "service/QVCServiceSeed.h"

namespace {

QVCReferenceService::Options options() {
    QVCReferenceService::Options given;
    given.seed = QVCServiceSeed::fromFile(QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json");
    given.appID = "fuzz-app";
    given.appKey = "fuzz-key";
    return given;
}

/// The service and a client that keeps its connection, made for the first input.
httplib::Client& client() {
    static QVCReferenceService service(options());
    static httplib::Client client("127.0.0.1", service.start());
    return client;
}

std::string pathFrom(std::string_view text) {
    std::string path = "/lqsapi/";
    for (const unsigned char c : text) {
        if (c > 0x20 && c < 0x7f) {
            path += static_cast<char>(c);
        } else {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", c);
            path += escaped;
        }
    }
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string_view text = fuzzText(data + 1, size - 1);
    const auto newline = text.find('\n');
    const std::string path = pathFrom(text.substr(0, newline));
    const std::string body(newline == std::string_view::npos ? std::string_view() : text.substr(newline + 1));
    const httplib::Headers headers{{"X-App-Id", "fuzz-app"}, {"X-App-Key", "fuzz-key"}};
    const auto result =
        data[0] % 2 == 0 ? client().Get(path, headers) : client().Post(path, headers, body, "application/json");
    if (!result) {
        fuzzFinding("no answer to " + path + ": " + httplib::to_string(result.error()));
    }
    if (result->status == 500) {
        fuzzFinding("answer 500 to " + path + ": " + result->body);
    }
    return 0;
}
