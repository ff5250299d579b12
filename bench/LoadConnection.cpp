#include "LoadConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>

namespace qvcbench {

LoadConnection::~LoadConnection() {
    close();
}

bool LoadConnection::open(uint16_t port) {
    close();
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd_ < 0) {
        return false;
    }
    int one = 1;
    ::setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 && errno != EINPROGRESS) {
        close();
        return false;
    }
    return true;
}

void LoadConnection::close() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
    fd_ = -1;
    busy_ = false;
    in_.clear();
    out_.clear();
    sent_ = 0;
}

void LoadConnection::start(std::string request) {
    out_ = std::move(request);
    sent_ = 0;
    in_.clear();
    status_ = 0;
    busy_ = true;
    started_ = LoadClock::now();
}

LoadStep LoadConnection::flush() {
    while (sent_ < out_.size()) {
        const ssize_t n = ::send(fd_, out_.data() + sent_, out_.size() - sent_, MSG_NOSIGNAL);
        if (n < 0) {
            return errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOTCONN ? LoadStep::Waiting : LoadStep::Failed;
        }
        sent_ += static_cast<size_t>(n);
    }
    return LoadStep::Waiting;
}

LoadStep LoadConnection::receive() {
    char buffer[16384];
    for (;;) {
        const ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        if (n > 0) {
            in_.append(buffer, static_cast<size_t>(n));
            continue;
        }
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            break;
        }
        return answerComplete() ? LoadStep::Answered : LoadStep::Failed;
    }
    return answerComplete() ? LoadStep::Answered : LoadStep::Waiting;
}

// Looks for the end of the answer: the header's Content-Length, or the last
// chunk of a chunked body.
bool LoadConnection::answerComplete() {
    const size_t headerEnd = in_.find("\r\n\r\n");
    if (!busy_ || headerEnd == std::string::npos || in_.size() < 12) {
        return false;
    }
    const std::string header = in_.substr(0, headerEnd);
    size_t bodyLength = 0;
    bool chunked = false;
    for (size_t line = header.find("\r\n"); line != std::string::npos; line = header.find("\r\n", line + 2)) {
        const char* field = header.c_str() + line + 2;
        if (::strncasecmp(field, "content-length:", 15) == 0) {
            bodyLength = std::strtoul(field + 15, nullptr, 10);
        } else if (::strncasecmp(field, "transfer-encoding: chunked", 26) == 0) {
            chunked = true;
        }
    }
    const size_t bodyStart = headerEnd + 4;
    const bool complete = chunked ? in_.size() >= bodyStart + 5 && in_.compare(in_.size() - 5, 5, "0\r\n\r\n") == 0
                                  : in_.size() >= bodyStart + bodyLength;
    if (complete) {
        status_ = std::atoi(in_.c_str() + 9);
        finished_ = LoadClock::now();
        busy_ = false;
    }
    return complete;
}

double LoadConnection::milliseconds() const {
    return std::chrono::duration<double, std::milli>(finished_ - started_).count();
}

}  // namespace qvcbench
