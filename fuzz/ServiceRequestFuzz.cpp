// The reference service's request handling, driven in process without a
// socket: the service is seeded from the shipped simulation file, and each
// input is one request with the application's credentials. Byte 0 picks GET
// (even) or POST (odd); up to the first newline follows the target below
// "/lqsapi/" (bytes outside printable ASCII percent-encoded), decoded into a
// path and query parameters as the HTTP server does; the rest is the body.
// Every request must be answered with a status other than 500, and no
// exception may leave the service (over HTTP it would become a 500).
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

std::string targetFrom(std::string_view text) {
    std::string target = "/lqsapi/";
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

/// The request the HTTP server would make of the method, target and body.
httplib::Request requestFrom(bool post, const std::string& target, std::string body) {
    httplib::Request request;
    request.method = post ? "POST" : "GET";
    request.target = target;
    const auto query = target.find('?');
    request.path = httplib::detail::decode_url(target.substr(0, query), false);
    if (query != std::string::npos) {
        httplib::detail::parse_query_text(target.substr(query + 1), request.params);
    }
    request.headers = {{"X-App-Id", "fuzz-app"}, {"X-App-Key", "fuzz-key"}};
    request.body = std::move(body);
    return request;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string_view text = fuzzText(data + 1, size - 1);
    const auto newline = text.find('\n');
    const auto request = requestFrom(data[0] % 2 == 1, targetFrom(text.substr(0, newline)),
                                     std::string(newline == std::string_view::npos ? "" : text.substr(newline + 1)));
    httplib::Response response;
    service().handle(request, response);
    if (response.status == -1 || response.status == 500) {
        fuzzFinding("answer " + std::to_string(response.status) + " to " + request.target + ": " + response.body);
    }
    return 0;
}
