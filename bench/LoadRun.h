#pragma once
// Drives many kept-alive connections against one loopback port from one
// thread (epoll): measured clients send requests back to back; idle
// connections only stay open; slow ones send a header byte at a time.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qvcbench {

struct LoadPlan {
    uint16_t port = 0;
    int clients = 1;
    int idle = 0;
    int slow = 0;
    double seconds = 2.0;
    /// Answers to requests started earlier (while connections are still being
    /// set up) are not counted; the connection burst is measured on its own.
    double warmupSeconds = 0.0;
    long maxRequests = 200000;
    /// The request text a client sends as its n-th request.
    std::function<std::string(int client, long n)> request;
};

struct LoadResult {
    long answered = 0;
    long errors = 0;
    int clientsAnswered = 0;
    double seconds = 0;
    std::vector<double> milliseconds;

    double perSecond() const { return seconds > 0 ? answered / seconds : 0; }
    double percentile(double fraction);
};

LoadResult runLoad(const LoadPlan& plan);

}  // namespace qvcbench
