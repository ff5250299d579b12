#include "LoadBigBody.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace qvcbench {

namespace {

constexpr long long bodySize = 1LL << 30;

int connectBlocking(uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    timeval timeout{10, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

int readStatus(int fd) {
    char buffer[512] = {};
    const ssize_t n = ::recv(fd, buffer, sizeof buffer - 1, 0);
    return n > 12 ? std::atoi(buffer + 9) : 0;
}

}  // namespace

long long residentKiB(int pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string word;
    while (status >> word) {
        if (word == "VmRSS:") {
            long long kib = 0;
            status >> kib;
            return kib;
        }
    }
    return 0;
}

BigBodyResult sendBigBody(uint16_t port, int servicePid, const std::string& path) {
    BigBodyResult result;
    const long long before = residentKiB(servicePid);
    long long peak = before;
    const int fd = connectBlocking(port);
    if (fd < 0) {
        return result;
    }
    const std::string header = "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n" +
                               "Content-Length: " + std::to_string(bodySize) + "\r\n\r\n";
    ::send(fd, header.data(), header.size(), MSG_NOSIGNAL);
    const std::vector<char> block(1 << 16, ' ');
    while (result.bytesSent < bodySize) {
        const ssize_t n = ::send(fd, block.data(), block.size(), MSG_NOSIGNAL);
        if (n <= 0) {
            break;
        }
        result.bytesSent += n;
        if (result.bytesSent % (16 << 20) < static_cast<long long>(block.size())) {
            peak = std::max(peak, residentKiB(servicePid));
        }
    }
    result.status = readStatus(fd);
    peak = std::max(peak, residentKiB(servicePid));
    ::close(fd);
    result.rssGrowthKiB = peak - before;
    return result;
}

}  // namespace qvcbench
