#include "platform/QVCDependencyVersions.h"

#include <curl/curl.h>
#include <simdjson.h>

std::string QVCDependencyVersions::libcurl() {
    const curl_version_info_data* info = curl_version_info(CURLVERSION_NOW);
    std::string text = info->version;
    if (info->ssl_version) {
        text += std::string(" (") + info->ssl_version + ")";
    }
    return text;
}

std::string QVCDependencyVersions::simdjson() {
    return std::to_string(simdjson::SIMDJSON_VERSION_MAJOR) + "." + std::to_string(simdjson::SIMDJSON_VERSION_MINOR) +
           "." + std::to_string(simdjson::SIMDJSON_VERSION_REVISION) + " (" +
           simdjson::get_active_implementation()->name() + ")";
}
