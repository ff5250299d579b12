#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A loopback HTTP/1.1 server for the one fault a kept-alive connection can
/// hide: it answers every GET and keeps the connection open, but reads each
/// POST whole and then closes the connection without answering, as a service
/// that fails after accepting a request does. It counts the POSTs that arrive.
class ClosingServer {
public:
    /// answerFor gives the JSON body of the answer to a GET of a path.
    explicit ClosingServer(std::function<std::string(const std::string& path)> answerFor)
        : answerFor_(std::move(answerFor)) {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listener_, 16);
        socklen_t length = sizeof address;
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { accept(); });
    }

    ~ClosingServer() {
        stopping_ = true;
        acceptor_.join();
        for (auto& connection : connections_) {
            connection.join();
        }
        ::close(listener_);
    }

    std::string root() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

    /// The paths of the POSTs that arrived, in order.
    std::vector<std::string> posts() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return posts_;
    }

private:
    /// Waits up to 50 ms for fd to become readable; false when it did not.
    static bool readable(int fd) {
        pollfd entry{fd, POLLIN, 0};
        return ::poll(&entry, 1, 50) > 0;
    }

    void accept() {
        while (!stopping_) {
            if (readable(listener_)) {
                int fd = ::accept(listener_, nullptr, nullptr);
                if (fd >= 0) {
                    connections_.emplace_back([this, fd] { serve(fd); });
                }
            }
        }
    }

    /// Reads into buffer until it holds at least size bytes; false when the
    /// connection ended or the server stops first.
    bool fill(int fd, std::string& buffer, std::size_t size) {
        char chunk[4096];
        while (buffer.size() < size) {
            if (stopping_) {
                return false;
            }
            if (!readable(fd)) {
                continue;
            }
            ssize_t count = ::recv(fd, chunk, sizeof chunk, 0);
            if (count <= 0) {
                return false;
            }
            buffer.append(chunk, static_cast<std::size_t>(count));
        }
        return true;
    }

    void serve(int fd) {
        std::string buffer;
        while (true) {
            std::size_t end;
            while ((end = buffer.find("\r\n\r\n")) == std::string::npos) {
                if (!fill(fd, buffer, buffer.size() + 1)) {
                    ::close(fd);
                    return;
                }
            }
            const std::string head = buffer.substr(0, end);
            std::size_t length = 0;
            if (std::size_t at = head.find("Content-Length: "); at != std::string::npos) {
                length = std::strtoul(head.c_str() + at + 16, nullptr, 10);
            }
            if (!fill(fd, buffer, end + 4 + length)) {
                ::close(fd);
                return;
            }
            buffer.erase(0, end + 4 + length);
            const std::size_t pathStart = head.find(' ') + 1;
            const std::string method = head.substr(0, pathStart - 1);
            const std::string path = head.substr(pathStart, head.find(' ', pathStart) - pathStart);
            if (method == "POST") {
                {
                    std::lock_guard<std::mutex> lock(mutex_);
                    posts_.push_back(path);
                }
                ::close(fd);
                return;
            }
            const std::string body = answerFor_(path);
            const std::string answer =
                "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
                "\r\n\r\n" + body;
            ::send(fd, answer.data(), answer.size(), MSG_NOSIGNAL);
        }
    }

    std::function<std::string(const std::string&)> answerFor_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::thread acceptor_;
    std::vector<std::thread> connections_;  // touched only by the acceptor until it is joined
    mutable std::mutex mutex_;
    std::vector<std::string> posts_;
};
