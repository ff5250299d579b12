#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "service/QVCServiceExchange.h"

/// What the service decides once a request's headers are in: either an answer
/// given at once (the body is then never read), or how to serve the request
/// once its body has been read, after an optional wait.
struct QVCServiceAdmission {
    std::optional<QVCServiceAnswer> answer;
    int delayMs = 0;
    std::function<QVCServiceAnswer(const QVCServiceRequest&)> serve;
};

/// The HTTP/1.1 server of the reference service, event-driven over Boost.Asio
/// and Boost.Beast: a few threads serve every connection, so idle, slow or
/// many connections do not hold up others. Each connection waits for a
/// request within the idle timeout, then must send its headers within the
/// header timeout and its body within the body timeout, or it is closed.
/// Headers beyond the size or count limit are answered 431 and a body beyond
/// the size limit 413, before any of it is kept.
class QVCServiceHTTP {
public:
    struct Limits {
        int idleTimeoutMs = 30000;
        int headerTimeoutMs = 5000;
        int bodyTimeoutMs = 5000;
        std::size_t maxHeaderBytes = 16 * 1024;
        std::size_t maxHeaderCount = 100;
        std::size_t maxBodyBytes = 1024 * 1024;
        int backlog = 1024;
        /// How long stop() lets requests in progress finish.
        int graceMs = 2000;
    };
    /// Called on a serving thread with each request's method, target and headers (no body yet).
    using Admit = std::function<QVCServiceAdmission(const QVCServiceRequest&)>;

    QVCServiceHTTP(Limits limits, Admit admit);
    /// Stops (see stop()).
    ~QVCServiceHTTP();
    QVCServiceHTTP(const QVCServiceHTTP&) = delete;
    QVCServiceHTTP& operator=(const QVCServiceHTTP&) = delete;

    /// Listens on host:port (0 picks a free port) and serves on its own threads;
    /// returns the port. Throws std::runtime_error when it cannot listen.
    int start(const std::string& host, int port);
    /// Stops accepting at once, closes idle connections, lets requests in
    /// progress finish within the grace, then closes every connection and
    /// joins the threads. Safe to call twice.
    void stop();

    /// The listening socket, the threads and the connections (defined with them).
    struct Server;

private:
    std::unique_ptr<Server> server_;
};
