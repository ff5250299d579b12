#include "service/QVCServiceGate.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "service/QVCServiceDocuments.h"

namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// The name of a Host value without its port: "[::1]:80" -> "[::1]", "localhost:8480" -> "localhost".
std::string hostName(const std::string& host) {
    const auto colon = host.rfind(':');
    const bool hasPort = colon != std::string::npos && host.find(']', colon) == std::string::npos &&
                         (host.front() == '[' || host.find(':') == colon);
    return lowered(hasPort ? host.substr(0, colon) : host);
}

bool isControl(unsigned char c) {
    return (c < 0x20 && c != '\t') || c == 0x7f;
}

}  // namespace

QVCServiceGate::QVCServiceGate(Settings settings) : settings_(std::move(settings)) {
    if (settings_.appID.empty() || settings_.appKey.empty()) {
        throw std::invalid_argument(settings_.appID.empty() ? "--app-id must not be empty"
                                                            : "--app-key must not be empty");
    }
    if (settings_.adminKey && settings_.adminKey->empty()) {
        throw std::invalid_argument("--admin-key must not be empty");
    }
}

std::optional<QVCServiceAnswer> QVCServiceGate::wellFormed(const QVCServiceRequest& request) const {
    for (const auto& [name, value] : request.headers) {
        if (std::any_of(value.begin(), value.end(), [](unsigned char c) { return isControl(c); })) {
            return QVCServiceDocuments::refusal(400, "the header " + name + " holds a control character");
        }
    }
    return std::nullopt;
}

std::optional<QVCServiceAnswer> QVCServiceGate::credentials(const QVCServiceRequest& request) const {
    if (request.header("X-App-Id") != settings_.appID || request.header("X-App-Key") != settings_.appKey) {
        return QVCServiceDocuments::refusal(401, "the application id or key is not the service's");
    }
    return std::nullopt;
}

bool QVCServiceGate::localHost(const std::string& host) const {
    const std::string name = hostName(host);
    return name == "localhost" || name == "127.0.0.1" || name == "[::1]" || name == lowered(settings_.host) ||
           name == "[" + lowered(settings_.host) + "]";
}

std::optional<QVCServiceAnswer> QVCServiceGate::admin(const QVCServiceRequest& request) const {
    if (request.header("Origin")) {
        return QVCServiceDocuments::refusal(403, "admin requests are not taken from a web page (Origin)");
    }
    const auto host = request.header("Host");
    if (!host || !localHost(*host)) {
        return QVCServiceDocuments::refusal(403, "admin requests must name the service's own address as Host");
    }
    const bool byKey = settings_.adminKey && request.header("X-Admin-Key") == settings_.adminKey;
    if (!byKey && credentials(request)) {
        return QVCServiceDocuments::refusal(401, "admin requests need the application id and key, or the admin key");
    }
    const std::string type = lowered(request.header("Content-Type").value_or(""));
    if (request.method == "POST" && type.substr(0, type.find(';')) != "application/json") {
        return QVCServiceDocuments::refusal(415, "admin requests take only application/json bodies");
    }
    return std::nullopt;
}

std::optional<QVCServiceAnswer> QVCServiceGate::bodySize(const QVCServiceRequest& request) const {
    const std::string length = request.header("Content-Length").value_or("0");
    const bool number =
        !length.empty() && length.size() <= 18 && length.find_first_not_of("0123456789") == std::string::npos;
    if (number && std::stoull(length) <= settings_.maxBodyBytes) {
        return std::nullopt;
    }
    return QVCServiceDocuments::refusal(
        number ? 413 : 400, number
                                ? "the request body is larger than " + std::to_string(settings_.maxBodyBytes) + " bytes"
                                : "Content-Length is not a number");
}
