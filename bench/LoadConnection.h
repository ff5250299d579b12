#pragma once
// One non-blocking loopback connection of the load client: it sends a
// request, reads the answer (Content-Length or chunked) and keeps the
// connection alive for the next one.
#include <chrono>
#include <cstdint>
#include <string>

namespace qvcbench {

using LoadClock = std::chrono::steady_clock;

enum class LoadStep { Waiting, Answered, Failed };

class LoadConnection {
public:
    LoadConnection() = default;
    LoadConnection(const LoadConnection&) = delete;
    LoadConnection& operator=(const LoadConnection&) = delete;
    ~LoadConnection();

    /// Opens a non-blocking connection to 127.0.0.1:port; false when it cannot.
    bool open(uint16_t port);
    void close();
    int fd() const { return fd_; }
    bool busy() const { return busy_; }

    /// Queues a whole request; the clock of its answer starts now.
    void start(std::string request);
    /// Writes what is queued; Failed when the connection broke.
    LoadStep flush();
    /// Reads what arrived; Answered once the whole answer is in.
    LoadStep receive();
    /// Status and time of the last answer.
    int status() const { return status_; }
    double milliseconds() const;
    LoadClock::time_point startedAt() const { return started_; }

private:
    bool answerComplete();

    int fd_ = -1;
    bool busy_ = false;
    std::string out_;
    size_t sent_ = 0;
    std::string in_;
    int status_ = 0;
    LoadClock::time_point started_;
    LoadClock::time_point finished_;
};

}  // namespace qvcbench
