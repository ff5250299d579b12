#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/QVCJSON.h"
#include "service/QVCServiceExchange.h"
#include "service/QVCServiceHTTP.h"

/// A local stand-in for the loyalty and offers service: it serves the ten
/// requests of the library under "/lqsapi/" over HTTP, keeps its state in
/// SQLite (QVCServiceStore), checks the application's credentials, and
/// answers admin requests under "/__admin/" (health, state, reset, faults).
/// Connections are served by QVCServiceHTTP; what is checked when is in
/// QVCServiceGate (headers) and QVCServiceDocuments (bodies).
class QVCReferenceService {
public:
    struct Options {
        /// SQLite file; none keeps the state in memory. An existing, seeded
        /// database is not seeded again. One service at a time may use a file.
        std::optional<std::string> databasePath;
        /// What a new database (and POST /__admin/reset) starts from: see QVCServiceStore::load.
        QVCJSON seed = QVCJSON::object();
        std::string appID;
        std::string appKey;
        /// A key that admin requests may carry in "X-Admin-Key" instead of the application's credentials.
        std::optional<std::string> adminKey;
        QVCServiceHTTP::Limits limits;
    };

    /// Opens and, when new, seeds the database; throws std::invalid_argument
    /// for empty credentials and std::runtime_error when the database cannot
    /// be opened or is in use by another service.
    explicit QVCReferenceService(Options options);
    /// Stops the service (see stop()).
    ~QVCReferenceService();
    QVCReferenceService(const QVCReferenceService&) = delete;
    QVCReferenceService& operator=(const QVCReferenceService&) = delete;

    /// Listens on host:port (port 0 picks a free one) and serves on other
    /// threads; returns the port. Throws std::runtime_error when it cannot bind.
    int start(const std::string& host = "127.0.0.1", int port = 0);
    /// Stops accepting; requests in progress finish within the grace of the limits. Safe to call twice.
    void stop();
    /// "http://host:port/" once started.
    std::string url() const;

    /// Answers one request as the HTTP server does, without a socket: the
    /// header checks, then the request with its body. A fault's delay is not
    /// waited for, and its effect on the connection shows only in the answer's
    /// delivery.
    QVCServiceAnswer handle(const QVCServiceRequest& request);

private:
    struct Engine;
    std::unique_ptr<Engine> engine_;
};
