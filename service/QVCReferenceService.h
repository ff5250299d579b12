#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/QVCJSON.h"

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

/// A local stand-in for the loyalty and offers service: it serves the ten
/// requests of the library under "/lqsapi/" over HTTP, keeps its state in
/// SQLite (QVCServiceStore), checks the application's credentials, and
/// answers admin requests under "/__admin/" (health, state, reset, faults).
/// Requests are served concurrently by a pool of threads.
class QVCReferenceService {
public:
    struct Options {
        /// SQLite file; none keeps the state in memory. An existing, seeded
        /// database is not seeded again.
        std::optional<std::string> databasePath;
        /// What a new database (and POST /__admin/reset) starts from: see QVCServiceStore::load.
        QVCJSON seed = QVCJSON::object();
        std::string appID;
        std::string appKey;
    };

    /// Opens and, when new, seeds the database; throws std::runtime_error when it cannot.
    explicit QVCReferenceService(Options options);
    /// Stops the service (see stop()).
    ~QVCReferenceService();
    QVCReferenceService(const QVCReferenceService&) = delete;
    QVCReferenceService& operator=(const QVCReferenceService&) = delete;

    /// Listens on host:port (port 0 picks a free one) and serves on other
    /// threads; returns the port. Throws std::runtime_error when it cannot bind.
    int start(const std::string& host = "127.0.0.1", int port = 0);
    /// Stops listening; requests in progress finish first. Safe to call twice.
    void stop();
    /// "http://host:port/" once started.
    std::string url() const;

    /// Answers one request as the HTTP server does, without a socket (faults
    /// that act on the connection do nothing): request carries the method, the
    /// decoded path, the raw target, the query parameters, headers and body.
    void handle(const httplib::Request& request, httplib::Response& response);

private:
    struct Engine;
    std::unique_ptr<Engine> engine_;
};
