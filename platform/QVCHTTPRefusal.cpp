#include "platform/QVCHTTPRefusal.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

bool isLoopbackHost(std::string host) {
    std::transform(host.begin(), host.end(), host.begin(), [](unsigned char c) { return std::tolower(c); });
    return host == "localhost" || host == "[::1]" || host == "::1" || host.rfind("127.", 0) == 0;
}

std::optional<std::string> refusalOfURL(const QVCPlatformConfiguration& configuration) {
    CURLU* url = curl_url();
    char* scheme = nullptr;
    char* host = nullptr;
    std::optional<std::string> refusal;
    if (curl_url_set(url, CURLUPART_URL, configuration.serviceRootURL.c_str(), 0) != CURLUE_OK ||
        curl_url_get(url, CURLUPART_SCHEME, &scheme, 0) != CURLUE_OK ||
        curl_url_get(url, CURLUPART_HOST, &host, 0) != CURLUE_OK) {
        refusal = "the service root URL \"" + configuration.serviceRootURL + "\" is not a valid URL";
    } else if (std::strcmp(scheme, "https") != 0 && std::strcmp(scheme, "http") != 0) {
        refusal = "the service root URL must use https or http, not " + std::string(scheme);
    } else if (std::strcmp(scheme, "http") == 0 && !configuration.allowPlainHTTP && !isLoopbackHost(host)) {
        refusal = "plain http to " + std::string(host) + " is refused: use https, or set allowPlainHTTP (" +
                  QVCPlatformConfiguration::allowPlainHTTPVariable + ")";
    }
    curl_free(scheme);
    curl_free(host);
    curl_url_cleanup(url);
    return refusal;
}

}  // namespace

std::optional<std::string> QVCHTTPRefusalOf(const QVCPlatformConfiguration& configuration) {
    if (!configuration.problems.empty()) {
        std::string text = "the platform configuration is not usable: ";
        for (std::size_t i = 0; i < configuration.problems.size(); ++i) {
            text += (i ? "; " : "") + configuration.problems[i];
        }
        return text;
    }
    if (configuration.serviceRootURL.empty()) {
        return std::string("no service root URL is configured: set ") + QVCPlatformConfiguration::serviceURLVariable +
               " or the platform configuration's serviceRootURL";
    }
    return refusalOfURL(configuration);
}
