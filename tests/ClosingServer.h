#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <mutex>
#include <sstream>
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
        : answerFor_(std::move(answerFor)), listener_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listener_, 16);
        socklen_t length = sizeof address;
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] {
            for (int fd; (fd = ::accept(listener_, nullptr, nullptr)) >= 0;) {
                std::lock_guard<std::mutex> lock(mutex_);
                connections_.emplace_back(fd, std::thread([this, fd] { serve(fd); }));
            }
        });
    }

    /// Shutting the sockets down wakes the threads blocked on them; the
    /// connections are closed only then, so that no number is reused before.
    ~ClosingServer() {
        ::shutdown(listener_, SHUT_RDWR);
        acceptor_.join();
        for (auto& [fd, thread] : connections_) {
            ::shutdown(fd, SHUT_RDWR);
            thread.join();
            ::close(fd);
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
    void serve(int fd) {
        std::string buffer;
        char chunk[4096];
        for (ssize_t count; (count = ::recv(fd, chunk, sizeof chunk, 0)) > 0;) {
            buffer.append(chunk, static_cast<std::size_t>(count));
            const std::size_t end = buffer.find("\r\n\r\n"), at = buffer.find("Content-Length: ");
            const std::size_t length = at < end ? std::strtoul(buffer.c_str() + at + 16, nullptr, 10) : 0;
            if (end == std::string::npos || buffer.size() < end + 4 + length) {
                continue;
            }
            std::string method, path;
            std::istringstream(buffer.substr(0, end)) >> method >> path;
            buffer.erase(0, end + 4 + length);
            if (method == "POST") {
                std::lock_guard<std::mutex> lock(mutex_);
                posts_.push_back(path);
                ::shutdown(fd, SHUT_RDWR);
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
    int listener_;
    int port_ = 0;
    std::thread acceptor_;
    mutable std::mutex mutex_;
    std::vector<std::pair<int, std::thread>> connections_;  // joined once the acceptor is
    std::vector<std::string> posts_;
};
