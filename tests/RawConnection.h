#pragma once

// A plain TCP connection to a loopback port, for sending what no HTTP client would.
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>

class RawConnection {
public:
    /// Connects to 127.0.0.1:port; every read gives up after readTimeoutMs.
    explicit RawConnection(int port, int readTimeoutMs = 5000) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval timeout{readTimeoutMs / 1000, (readTimeoutMs % 1000) * 1000};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        connected_ = ::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawConnection() { ::close(socket_); }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    bool connected() const { return connected_; }

    /// Sends all of text; false when the connection refused it.
    bool send(const std::string& text) {
        for (std::size_t sent = 0; sent < text.size();) {
            const auto n = ::send(socket_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (n <= 0) {
                return false;
            }
            sent += static_cast<std::size_t>(n);
        }
        return true;
    }

    /// One whole answer (headers and a Content-Length body); what came before
    /// the connection closed or the read timed out otherwise.
    std::string answer() {
        std::string text;
        char chunk[65536];
        while (!complete(text)) {
            const auto n = ::recv(socket_, chunk, sizeof chunk, 0);
            if (n <= 0) {
                closedByPeer_ = n == 0;
                reset_ = n < 0 && errno == ECONNRESET;
                break;
            }
            text.append(chunk, static_cast<std::size_t>(n));
        }
        return text;
    }

    /// After answer() came back short: whether the service closed the connection, or reset it.
    bool closedByPeer() const { return closedByPeer_; }
    bool reset() const { return reset_; }

    /// The status of an answer's first line; 0 when there is none.
    static int statusOf(const std::string& answer) {
        return answer.rfind("HTTP/1.1 ", 0) == 0 ? std::stoi(answer.substr(9, 3)) : 0;
    }
    /// The body of an answer.
    static std::string bodyOf(const std::string& answer) {
        const auto end = answer.find("\r\n\r\n");
        return end == std::string::npos ? std::string() : answer.substr(end + 4);
    }

private:
    static bool complete(const std::string& text) {
        const auto end = text.find("\r\n\r\n");
        if (end == std::string::npos) {
            return false;
        }
        const auto length = text.find("Content-Length: ");
        const auto size = length < end ? std::stoul(text.substr(length + 16)) : 0;
        return text.size() >= end + 4 + size;
    }

    int socket_;
    bool connected_ = false;
    bool closedByPeer_ = false;
    bool reset_ = false;
};
