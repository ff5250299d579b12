#include "service/QVCReferenceService.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "service/QVCServiceDocuments.h"
#include "service/QVCServiceFaults.h"
#include "service/QVCServiceStore.h"

namespace {

using Documents = QVCServiceDocuments;
using Action = QVCServiceFaults::Action;
using Outcome = QVCServiceStore::Outcome;

constexpr const char* redemptionsRoot = "lqsapi/consumers/v1/redemptions/";

/// The fault taken for the request this thread is serving, applied once the request was handled.
thread_local std::optional<QVCServiceFaults::Fault> pendingFault;

void answer(httplib::Response& response, int status, const QVCJSON& body) {
    response.status = status;
    // Texts taken from the request (a path echoed in a message) need not be UTF-8.
    response.set_content(body.dump(-1, ' ', false, QVCJSON::error_handler_t::replace), "application/json");
}

/// An error answer: the status, also as "httpResponseCode", and a message saying what was wrong.
void refuse(httplib::Response& response, int status, const std::string& message) {
    answer(response, status, {{"httpResponseCode", status}, {"message", message}});
}

/// A request whose answer is an error: thrown by the handlers, answered by serve().
struct Refusal {
    int status;
    std::string message;
};

QVCJSON bodyOf(const httplib::Request& request) {
    try {
        return QVCJSON::parse(request.body);
    } catch (const QVCJSON::parse_error&) {
        throw Refusal{400, "the request body is not JSON"};
    } catch (const QVCJSON::out_of_range&) {
        throw Refusal{400, "the request body holds a number too large to read"};
    }
}

/// The port of a socket address, or -1 for a family other than IPv4 and IPv6.
int portOf(const sockaddr_storage& address) {
    if (address.ss_family == AF_INET) {
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    }
    if (address.ss_family == AF_INET6) {
        return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    }
    return -1;
}

/// Resets the connection a request came on: finds its socket among the
/// process's descriptors by the two ports, makes closing it send a reset, and
/// shuts it down so that nothing more is written to it.
void resetConnection(const httplib::Request& request) {
    if (request.local_port < 0) {
        return;  // served without a socket
    }
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        int descriptor = -1;
        try {
            descriptor = std::stoi(entry.path().filename().string());
        } catch (const std::exception&) {
            continue;
        }
        sockaddr_storage local{}, peer{};
        socklen_t localSize = sizeof local, peerSize = sizeof peer;
        if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &localSize) != 0 ||
            getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &peerSize) != 0 ||
            portOf(local) != request.local_port || portOf(peer) != request.remote_port) {
            continue;
        }
        const linger abortive{1, 0};
        setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
        shutdown(descriptor, SHUT_RDWR);
        return;
    }
}

/// Spoils a handled request's answer as the fault taken for it says.
void spoil(const httplib::Request& request, httplib::Response& response, Action action) {
    if (action == Action::ResetAfterBody) {
        resetConnection(request);
    } else if (action == Action::NotJSON) {
        response.set_content("<html><body>502 Bad Gateway</body></html>", "text/html");
    } else if (action == Action::Truncate) {
        const std::string body = response.body;
        response.body.clear();
        response.set_content_provider(body.size(), "application/json",
                                      [body](std::size_t, std::size_t, httplib::DataSink& sink) {
                                          sink.write(body.data(), body.size() / 2);
                                          return false;  // closes the connection with the answer cut short
                                      });
    }
}

}  // namespace

struct QVCReferenceService::Engine {
    Options options;
    QVCServiceStore store;
    QVCServiceFaults faults;
    httplib::Server server;
    std::thread thread;
    std::string url;
    std::mutex countsMutex;
    std::map<std::string, int> counts;

    explicit Engine(Options given) : options(std::move(given)), store(options.databasePath.value_or(":memory:")) {
        if (!store.seeded()) {
            store.load(options.seed);
        }
        routes();
    }

    /// What serves one route: the request, the route pattern's match on its path, the answer.
    using Handler = std::function<void(const httplib::Request&, const std::smatch&, httplib::Response&)>;

    struct Route {
        std::string method;
        std::regex pattern;
        Handler handler;
    };
    std::vector<Route> table;

    void on(const char* method, const std::string& pattern, Handler handler) {
        table.push_back({method, std::regex(pattern), std::move(handler)});
    }

    /// Admits the request, then serves it by the first route whose method and
    /// pattern match (HEAD as GET); 404 with no body when none does.
    void handle(const httplib::Request& request, httplib::Response& response) {
        if (admit(request, response)) {
            return;
        }
        const std::string& method = request.method == "HEAD" ? "GET" : request.method;
        std::smatch match;
        for (const auto& route : table) {
            if (route.method == method && std::regex_match(request.path, match, route.pattern)) {
                route.handler(request, match, response);
                return;
            }
        }
        response.status = 404;
    }

    /// Wraps a handler of the service's requests: answers its refusals and
    /// applies the fault taken for the request once it was handled.
    static Handler serve(Handler handler) {
        return [handler](const httplib::Request& request, const std::smatch& match, httplib::Response& response) {
            try {
                handler(request, match, response);
            } catch (const Refusal& refusal) {
                refuse(response, refusal.status, refusal.message);
            } catch (const QVCServiceDocuments::Invalid& invalid) {
                refuse(response, 400, invalid.what());
            }
            if (pendingFault) {
                spoil(request, response, pendingFault->action);
            }
        };
    }

    /// The consumer id of a path segment, refused with 404 when no such consumer exists.
    std::int64_t knownConsumer(const std::string& segment) {
        const auto id = Documents::wholeNumber(QVCJSON(segment));
        if (!id || !store.consumer(*id)) {
            throw Refusal{404, "no consumer with id \"" + segment + "\""};
        }
        return *id;
    }

    /// Counts the request, applies the fault that matches it, checks the
    /// credentials; true when that answered it.
    bool admit(const httplib::Request& request, httplib::Response& response) {
        pendingFault.reset();
        if (request.path.rfind("/__admin/", 0) == 0) {
            return false;
        }
        {
            std::lock_guard<std::mutex> lock(countsMutex);
            ++counts[request.path.substr(1)];
        }
        if (auto fault = faults.take(request.method, request.target.substr(1))) {
            std::this_thread::sleep_for(std::chrono::milliseconds(fault->delayMs));
            if (fault->action == Action::Status) {
                if (fault->retryAfter) {
                    response.set_header("Retry-After", *fault->retryAfter);
                }
                refuse(response, fault->status, "injected fault");
                return true;
            }
            if (fault->action == Action::ResetBeforeBody) {
                resetConnection(request);
                return true;
            }
            pendingFault = fault;
        }
        if (request.get_header_value("X-App-Id") != options.appID ||
            request.get_header_value("X-App-Key") != options.appKey) {
            refuse(response, 401, "the application id or key is not the service's");
            return true;
        }
        return false;
    }

    void routes() {
        const auto all = [this](const httplib::Request& request, httplib::Response& response) {
            handle(request, response);
        };
        server.Get(".*", all);
        server.Post(".*", all);
        const std::string consumer = "/lqsapi/consumers/v1/consumer";
        const std::string consumers = "/lqsapi/consumers/v1/consumers/([^/]*)/offers";
        on("GET", "/lqsapi/consumers/v1/data", serve([this](const auto&, const auto&, auto& response) {
               answer(response, 200, {{"consumerRs", store.masterData()}});
           }));
        on("GET", consumer + "/([^/]*)/authenticate", serve([this](const auto&, const auto& match, auto& response) {
               const auto found = store.consumerNamed(match[1]);
               if (!found) {
                   throw Refusal{404, "no consumer named \"" + std::string(match[1]) + "\""};
               }
               answer(response, 200, {{"consumers", {*found}}});
           }));
        on("POST", consumer,
           serve([this](const auto& request, const auto&, auto& response) { saveConsumer(request, response); }));
        on("GET", consumer + "/([^/]*)/balance/loyalty", serve([this](const auto&, const auto& match, auto& response) {
               const auto balance = store.balance(knownConsumer(match[1])).value_or(QVCServiceStore::Balance{});
               QVCJSON statuses = QVCJSON::array();
               if (balance.status) {
                   statuses.push_back({{"description", *balance.status}});
               }
               answer(response, 200,
                      {{"consumerRs",
                        {{{"loyaltyPoints", balance.points}, {"loyaltyConsumerStatusResponse", statuses}}}}});
           }));
        on("POST", consumer + "/([^/]*)/device", serve([this](const auto& request, const auto& match, auto& response) {
               const auto id = knownConsumer(match[1]);
               const QVCJSON body = bodyOf(request);
               Documents::checkDevice(body);
               store.registerDevice(id, body.at("deviceToken"), body.at("deviceType"), body.at("en_Push"));
               answer(response, 200, {{"status", "registered"}});
           }));
        on("GET", consumers, serve([this](const auto& request, const auto& match, auto& response) {
               knownConsumer(match[1]);
               if (request.has_param("offerCode")) {
                   answer(response, 200, store.offersWithCode(request.get_param_value("offerCode")));
                   return;
               }
               std::optional<std::int64_t> facility;
               if (request.has_param("facilityId")) {
                   facility = Documents::wholeNumber(QVCJSON(request.get_param_value("facilityId")));
                   if (!facility) {
                       throw Refusal{400, "facilityId must be a whole number"};
                   }
               }
               answer(response, 200, store.offers(facility));
           }));
        on("GET", consumers + "/([^/]*)", serve([this](const auto&, const auto& match, auto& response) {
               knownConsumer(match[1]);
               const auto offer = store.offerWithID(match[2]);
               if (!offer) {
                   throw Refusal{404, "no offer with id \"" + std::string(match[2]) + "\""};
               }
               answer(response, 200, *offer);
           }));
        on("POST", consumers + "/([^/]*)/redeems",
           serve([this](const auto& request, const auto& match, auto& response) { redeem(request, match, response); }));
        const auto unknown = serve([](const httplib::Request& request, const std::smatch&, httplib::Response&) {
            throw Refusal{404, "no such request: " + request.method + " " + request.path};
        });
        on("GET", "/lqsapi/.*", unknown);
        on("POST", "/lqsapi/.*", unknown);
        adminRoutes();
    }

    void saveConsumer(const httplib::Request& request, httplib::Response& response) {
        const QVCJSON body = bodyOf(request);
        if (body.is_object() && body.contains("consumerRq")) {
            const auto& consumer = Documents::consumerOf(body, Documents::Variant::Update);
            const auto id = Documents::consumerIDOf(consumer);
            const auto previous = store.consumer(id);
            if (!previous) {
                throw Refusal{404, "no consumer with id " + std::to_string(id)};
            }
            if (store.update(Documents::stored(consumer, id, *previous)).outcome == Outcome::Conflict) {
                throw Refusal{409, "user name \"" + consumer.at("userId").get<std::string>() + "\" is taken"};
            }
            answer(response, 200, {{"consumers", {{"consumerId", id}}}});
            return;
        }
        const auto& consumer = Documents::consumerOf(body, Documents::Variant::SignUp);
        const std::string userName = consumer.at("userId");
        const auto result = store.signUp(userName, [&](std::int64_t id) { return Documents::stored(consumer, id); });
        if (result.outcome == Outcome::Conflict) {
            throw Refusal{409, "user name \"" + userName + "\" is taken"};
        }
        answer(response, 200, {{"consumers", {{"consumerId", result.id}}}});
    }

    void redeem(const httplib::Request& request, const std::smatch& match, httplib::Response& response) {
        const auto consumerID = knownConsumer(match[1]);
        const std::string consumerOfferID = match[2];
        const auto offer = store.offerWithConsumerOfferID(consumerOfferID);
        if (!offer) {
            throw Refusal{404, "no offer with consumer offer id \"" + consumerOfferID + "\""};
        }
        const QVCJSON body = bodyOf(request);
        Documents::checkRedemption(body);
        const std::string code = offer->value("offerCode", "");
        if (body.at("offerCode") != code) {
            throw Refusal{400, "offerCode \"" + body.at("offerCode").get<std::string>() +
                                   "\" is not the code of offer " + consumerOfferID};
        }
        const auto details = offer->value("offer", QVCJSON::object()).value("offerDetails", QVCJSON::object());
        const auto limit = Documents::wholeNumber(
            details.value("offerRules", QVCJSON::object()).value("individualRedeemLimit", QVCJSON()));
        const auto points =
            Documents::wholeNumber(details.value("offerType", QVCJSON::object()).value("loyaltyPoints", QVCJSON()));
        const auto result = store.redeem({consumerID, consumerOfferID, Documents::text(body.at("referenceId")),
                                          Documents::text(body.at("amount")), body.at("transactionDateTime"), limit,
                                          points.value_or(0)});
        if (result.outcome == Outcome::LimitReached) {
            throw Refusal{409, "offer " + code + " has reached its redeem limit of " + std::to_string(*limit) +
                                   " for consumer " + std::to_string(consumerID)};
        }
        if (result.outcome == Outcome::NotEnoughPoints) {
            throw Refusal{409, "offer " + code + " needs " + std::to_string(*points) + " loyalty points"};
        }
        const std::string location = redemptionsRoot + std::to_string(result.id);
        response.set_header("Location", location);
        answer(response, result.outcome == Outcome::Repeated ? 200 : 201,
               {{"redemptionId", result.id}, {"status", "REDEEMED"}});
    }

    void adminRoutes() {
        on("GET", "/__admin/health", [](const auto&, const auto&, auto& response) {
            answer(response, 200, {{"status", "ok"}});
        });
        on("GET", "/__admin/state", [this](const auto&, const auto&, auto& response) {
            QVCJSON state = store.state();
            std::lock_guard<std::mutex> lock(countsMutex);
            state["requestCounts"] = counts;
            state["faults"] = faults.pending();
            answer(response, 200, state);
        });
        on("POST", "/__admin/reset", [this](const auto&, const auto&, auto& response) {
            store.load(options.seed);
            faults.clear();
            std::lock_guard<std::mutex> lock(countsMutex);
            counts.clear();
            answer(response, 200, {{"status", "reset"}});
        });
        on("GET", "/__admin/faults",
           [this](const auto&, const auto&, auto& response) { answer(response, 200, faults.pending()); });
        on("POST", "/__admin/faults", [this](const auto& request, const auto&, auto& response) {
            try {
                const QVCJSON body = QVCJSON::parse(request.body);
                for (const auto& description : body.is_array() ? body : QVCJSON::array({body})) {
                    faults.add(QVCServiceFaults::parse(description));
                }
                answer(response, 200, faults.pending());
            } catch (const std::exception& failure) {
                refuse(response, 400, failure.what());
            }
        });
    }
};

QVCReferenceService::QVCReferenceService(Options options) : engine_(std::make_unique<Engine>(std::move(options))) {}

QVCReferenceService::~QVCReferenceService() {
    stop();
}

int QVCReferenceService::start(const std::string& host, int port) {
    auto& server = engine_->server;
    const int bound = port == 0 ? server.bind_to_any_port(host) : (server.bind_to_port(host, port) ? port : -1);
    if (bound < 0) {
        throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port));
    }
    engine_->thread = std::thread([&server] { server.listen_after_bind(); });
    while (!server.is_running()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    engine_->url = "http://" + host + ":" + std::to_string(bound) + "/";
    return bound;
}

void QVCReferenceService::stop() {
    engine_->server.stop();
    if (engine_->thread.joinable()) {
        engine_->thread.join();
    }
}

std::string QVCReferenceService::url() const {
    return engine_->url;
}

void QVCReferenceService::handle(const httplib::Request& request, httplib::Response& response) {
    engine_->handle(request, response);
}
