#include "service/QVCServiceHTTP.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <unordered_map>
#include <vector>

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using Delivery = QVCServiceAnswer::Delivery;
using Limits = QVCServiceHTTP::Limits;

namespace {

/// A plain-text error answer of the HTTP layer itself (before the service saw the request).
QVCServiceAnswer protocolError(int status, const char* message) {
    QVCServiceAnswer answer;
    answer.status = status;
    answer.body = std::string("{\"httpResponseCode\":") + std::to_string(status) + ",\"message\":\"" + message + "\"}";
    return answer;
}

http::response<http::string_body> responseOf(const QVCServiceAnswer& answer, bool head, bool keepAlive) {
    http::response<http::string_body> response{static_cast<http::status>(answer.status), 11};
    for (const auto& [name, value] : answer.headers) {
        response.insert(name, value);
    }
    response.set(http::field::content_type, answer.contentType);
    response.keep_alive(keepAlive);
    response.content_length(answer.body.size());
    if (!head) {
        response.body() = answer.body;
    }
    return response;
}

}  // namespace

/// What the sessions share: the limits, the service, and the count of requests in progress.
/// The sessions live in handlers of io, so the members they use are declared before it (and outlive it).
struct QVCServiceHTTP::Server {
    Limits limits;
    Admit admit;
    std::atomic<bool> stopping{false};
    std::mutex mutex;
    std::condition_variable settled;
    int busy = 0;
    std::unordered_map<void*, std::function<void(bool)>> closers;  ///< per session: close it (true: even when busy)
    net::io_context io;
    net::executor_work_guard<net::io_context::executor_type> work{io.get_executor()};
    tcp::acceptor acceptor{io};
    std::vector<std::thread> threads;

    Server(Limits given, Admit service) : limits(given), admit(std::move(service)) {}
    void accept();
    void listen(const std::string& host, int port);
    /// Called outside the lock: a closer may drop the last hold on its session, whose destructor takes the lock.
    void closeSessions(bool busyToo) {
        std::vector<std::function<void(bool)>> taken;
        {
            std::lock_guard<std::mutex> lock(mutex);
            for (const auto& entry : closers) {
                taken.push_back(entry.second);
            }
        }
        for (const auto& close : taken) {
            close(busyToo);
        }
    }
    void markBusy(bool on) {
        std::lock_guard<std::mutex> lock(mutex);
        busy += on ? 1 : -1;
        settled.notify_all();
    }
};

namespace {

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket socket, QVCServiceHTTP::Server* server)
        : stream_(std::move(socket)), server_(server), timer_(stream_.get_executor()) {}

    ~Session() {
        std::lock_guard<std::mutex> lock(server_->mutex);
        server_->closers.erase(this);
    }

    void start() {
        std::weak_ptr<Session> weak = shared_from_this();
        {
            std::lock_guard<std::mutex> lock(server_->mutex);
            server_->closers[this] = [weak](bool busyToo) {
                if (auto self = weak.lock()) {
                    net::post(self->stream_.get_executor(), [self, busyToo] { self->closeUnlessBusy(busyToo); });
                }
            };
        }
        net::dispatch(stream_.get_executor(), [self = shared_from_this()] { self->awaitRequest(); });
    }

private:
    void closeUnlessBusy(bool busyToo) {
        if (busyToo || !busy_) {
            setBusy(false);
            timer_.cancel();
            beast::error_code ignored;
            stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
            stream_.close();
        }
    }

    /// Waits within the idle timeout for the first byte of the next request.
    void awaitRequest() {
        if (server_->stopping) {
            return closeUnlessBusy(true);
        }
        if (buffer_.size() > 0) {
            return readHeader();
        }
        stream_.expires_after(std::chrono::milliseconds(server_->limits.idleTimeoutMs));
        stream_.async_read_some(buffer_.prepare(4096),
                                [self = shared_from_this()](beast::error_code error, std::size_t size) {
                                    self->buffer_.commit(size);
                                    if (!error) {
                                        self->readHeader();
                                    }
                                });
    }

    void readHeader() {
        request_ = QVCServiceRequest();
        parser_.emplace();
        parser_->header_limit(static_cast<std::uint32_t>(server_->limits.maxHeaderBytes));
        // The declared length is judged by the service, after the credentials; the limit holds while the body is read.
        parser_->body_limit(std::numeric_limits<std::uint64_t>::max());
        stream_.expires_after(std::chrono::milliseconds(server_->limits.headerTimeoutMs));
        http::async_read_header(
            stream_, buffer_, *parser_,
            [self = shared_from_this()](beast::error_code error, std::size_t) { self->onHeader(error); });
    }

    void onHeader(beast::error_code error) {
        if (error == http::error::header_limit) {
            return refuseAndClose(431, "the request headers are too large");
        }
        if (error) {
            return error.category() == make_error_code(http::error::bad_target).category()
                       ? refuseAndClose(400, "the request is not well-formed HTTP")
                       : closeUnlessBusy(true);
        }
        const auto& header = parser_->get();
        if (static_cast<std::size_t>(std::distance(header.begin(), header.end())) > server_->limits.maxHeaderCount) {
            return refuseAndClose(431, "the request has too many headers");
        }
        setBusy(true);
        request_ = QVCServiceRequest{std::string(header.method_string()), std::string(header.target()), {}, {}};
        for (const auto& field : header) {
            request_.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
        }
        admission_ = server_->admit(request_);
        afterDelay(admission_.delayMs, [this] {
            if (admission_.answer) {
                deliver(*admission_.answer, parser_->is_done());
            } else {
                readBody();
            }
        });
    }

    template <typename Next>
    void afterDelay(int delayMs, Next next) {
        if (delayMs <= 0) {
            return next();
        }
        timer_.expires_after(std::chrono::milliseconds(delayMs));
        timer_.async_wait([self = shared_from_this(), next](beast::error_code error) {
            if (!error) {
                next();
            }
        });
    }

    void readBody() {
        if (parser_->is_done()) {
            return serve();
        }
        parser_->body_limit(server_->limits.maxBodyBytes);
        stream_.expires_after(std::chrono::milliseconds(server_->limits.bodyTimeoutMs));
        http::async_read(stream_, buffer_, *parser_, [self = shared_from_this()](beast::error_code error, std::size_t) {
            if (error == http::error::body_limit) {
                return self->refuseAndClose(413, "the request body is too large");
            }
            if (error) {
                return self->closeUnlessBusy(true);
            }
            self->serve();
        });
    }

    void serve() {
        request_.body = parser_->release().body();
        deliver(admission_.serve(request_), true);
    }

    void refuseAndClose(int status, const char* message) {
        setBusy(true);
        deliver(protocolError(status, message), false);
    }

    /// Sends the answer as its delivery says; keeps the connection when it may.
    void deliver(const QVCServiceAnswer& answer, bool mayKeep) {
        if (answer.delivery == Delivery::ResetBeforeBody || answer.delivery == Delivery::ResetAfterBody) {
            return reset();
        }
        const bool keep =
            mayKeep && answer.delivery == Delivery::Whole && !server_->stopping && parser_->get().keep_alive();
        auto response = std::make_shared<std::string>(serialized(answer, keep));
        if (answer.delivery == Delivery::Truncate) {
            response->resize(response->size() - answer.body.size() + answer.body.size() / 2);
        }
        stream_.expires_after(std::chrono::milliseconds(server_->limits.bodyTimeoutMs));
        net::async_write(stream_, net::buffer(*response),
                         [self = shared_from_this(), response, keep](beast::error_code error, std::size_t) {
                             self->setBusy(false);
                             if (!error && keep) {
                                 return self->awaitRequest();
                             }
                             self->closeUnlessBusy(true);
                         });
    }

    std::string serialized(const QVCServiceAnswer& answer, bool keep) {
        std::ostringstream text;
        text << responseOf(answer, request_.method == "HEAD", keep);
        return text.str();
    }

    /// Closes the connection with a reset: the client sees no answer.
    void reset() {
        setBusy(false);
        beast::error_code ignored;
        stream_.socket().set_option(net::socket_base::linger(true, 0), ignored);
        stream_.close();
    }

    void setBusy(bool on) {
        if (busy_ != on) {
            busy_ = on;
            server_->markBusy(on);
        }
    }

    beast::tcp_stream stream_;
    QVCServiceHTTP::Server* server_;
    net::steady_timer timer_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<http::string_body>> parser_;
    QVCServiceRequest request_;
    QVCServiceAdmission admission_;
    bool busy_ = false;
};

}  // namespace

void QVCServiceHTTP::Server::accept() {
    acceptor.async_accept(net::make_strand(io), [this](beast::error_code error, tcp::socket socket) {
        if (stopping || !acceptor.is_open()) {
            return;
        }
        if (!error) {
            socket.set_option(tcp::no_delay(true), error);
            std::make_shared<Session>(std::move(socket), this)->start();
        }
        accept();
    });
}

void QVCServiceHTTP::Server::listen(const std::string& host, int port) {
    beast::error_code error;
    const auto address = net::ip::make_address(host, error);
    const tcp::endpoint endpoint(address, static_cast<unsigned short>(port));
    if (!error) {
        acceptor.open(endpoint.protocol(), error);
    }
    if (!error) {
        acceptor.set_option(net::socket_base::reuse_address(true), error);
        acceptor.bind(endpoint, error);
    }
    if (!error) {
        acceptor.listen(limits.backlog, error);
    }
    if (error) {
        throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port) + ": " + error.message());
    }
}

QVCServiceHTTP::QVCServiceHTTP(Limits limits, Admit admit)
    : server_(std::make_unique<Server>(limits, std::move(admit))) {}

QVCServiceHTTP::~QVCServiceHTTP() {
    stop();
}

int QVCServiceHTTP::start(const std::string& host, int port) {
    server_->listen(host, port);
    server_->accept();
    const unsigned count = std::max(2u, std::thread::hardware_concurrency());
    for (unsigned i = 0; i < count; ++i) {
        server_->threads.emplace_back([server = server_.get()] { server->io.run(); });
    }
    return server_->acceptor.local_endpoint().port();
}

void QVCServiceHTTP::stop() {
    auto& server = *server_;
    if (server.stopping.exchange(true)) {
        return;
    }
    net::post(server.io, [&server] {
        beast::error_code ignored;
        server.acceptor.close(ignored);
    });
    server.closeSessions(false);
    {
        std::unique_lock<std::mutex> lock(server.mutex);
        server.settled.wait_for(lock, std::chrono::milliseconds(server.limits.graceMs),
                                [&server] { return server.busy == 0; });
    }
    // Closing every connection ends every operation; the threads then run out of work.
    server.closeSessions(true);
    server.work.reset();
    for (auto& thread : server.threads) {
        thread.join();
    }
}
