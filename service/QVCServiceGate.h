#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "service/QVCServiceExchange.h"

/// The checks the reference service makes on a request's headers, before any
/// of its body is read. Each answers the refusal, or none when the request passes.
class QVCServiceGate {
public:
    struct Settings {
        std::string appID;
        std::string appKey;
        /// A key that admin requests may carry in "X-Admin-Key" instead of the application's credentials.
        std::optional<std::string> adminKey;
        /// The address the service listens on: a Host naming it passes, besides the loopback names.
        std::string host = "127.0.0.1";
        std::size_t maxBodyBytes = 1024 * 1024;
    };

    explicit QVCServiceGate(Settings settings);

    /// 400 for a header value holding a NUL or another control character.
    std::optional<QVCServiceAnswer> wellFormed(const QVCServiceRequest& request) const;
    /// 401 unless "X-App-Id" and "X-App-Key" carry the service's pair.
    std::optional<QVCServiceAnswer> credentials(const QVCServiceRequest& request) const;
    /// For an admin request: 403 for any Origin header or a Host that names
    /// neither the listening address nor a loopback name; 401 without the
    /// credentials or the admin key; 415 for a POST whose body is not
    /// application/json.
    std::optional<QVCServiceAnswer> admin(const QVCServiceRequest& request) const;
    /// 413 for a declared body longer than the limit.
    std::optional<QVCServiceAnswer> bodySize(const QVCServiceRequest& request) const;

private:
    bool localHost(const std::string& host) const;
    Settings settings_;
};
