#pragma once

#include <httplib.h>
#include <sys/socket.h>

#include <memory>

namespace qvcbench {

/// Binds server to a free port on 127.0.0.1 and returns the port (0 or less
/// when it could not). cpp-httplib listens with a backlog of 5: 8 or 64
/// clients connecting at once overflow it, and the refused connection
/// attempts are retried by the kernel a second later, which shows as
/// one-second stalls in the figures. The listening socket's backlog is
/// raised to 1024 here.
inline int listenOnLoopback(httplib::Server& server) {
    auto listening = std::make_shared<socket_t>(INVALID_SOCKET);
    server.set_socket_options([listening](socket_t socket) {
        int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        *listening = socket;
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    if (port > 0 && ::listen(*listening, 1024) != 0) {
        return -1;
    }
    return port;
}

}  // namespace qvcbench
