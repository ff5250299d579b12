#include "service/QVCReferenceService.h"

#include <array>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "service/QVCServiceDocuments.h"
#include "service/QVCServiceFaults.h"
#include "service/QVCServiceGate.h"
#include "service/QVCServiceStore.h"

namespace {

using Documents = QVCServiceDocuments;
using Outcome = QVCServiceStore::Outcome;
using Fault = QVCServiceFaults::Fault;
using Answer = QVCServiceAnswer;
using Request = QVCServiceRequest;
using Captures = std::vector<std::string>;

/// A request whose answer is an error: thrown by the handlers, answered by Engine::route.
struct Refusal {
    int status;
    std::string message;
};

/// Request paths counted at most: a client sending ever new paths cannot grow the table without end.
constexpr std::size_t maxCountedPaths = 10000;

/// Matches path against pattern segment by segment ("{}" takes any one
/// segment), in one pass; the segments taken, or none.
std::optional<Captures> matchSegments(std::string_view pattern, std::string_view path) {
    Captures taken;
    for (;;) {
        const auto patternEnd = pattern.find('/'), pathEnd = path.find('/');
        const auto expected = pattern.substr(0, patternEnd), segment = path.substr(0, pathEnd);
        if (expected == "{}") {
            taken.emplace_back(segment);
        } else if (expected != segment) {
            return std::nullopt;
        }
        if ((patternEnd == std::string_view::npos) != (pathEnd == std::string_view::npos)) {
            return std::nullopt;
        }
        if (patternEnd == std::string_view::npos) {
            return taken;
        }
        pattern.remove_prefix(patternEnd + 1);
        path.remove_prefix(pathEnd + 1);
    }
}

}  // namespace

struct QVCReferenceService::Engine {
    using Serve = Answer (Engine::*)(const Request&, const Captures&);
    struct Route {
        const char* method;
        const char* pattern;  ///< the path without its leading "/"; "{}" is any one segment
        Serve serve;
    };
    /// Every request the service answers, admin requests included.
    static const std::array<Route, 13> routes;

    Options options;
    QVCServiceStore store;
    QVCServiceFaults faults;
    QVCServiceGate gate;
    std::mutex countsMutex;
    std::map<std::string, int> counts;
    std::unique_ptr<QVCServiceHTTP> http;
    std::string url;

    explicit Engine(Options given)
        : options(std::move(given)), store(options.databasePath.value_or(":memory:")), gate(gateSettings("127.0.0.1")) {
        if (!store.seeded()) {
            store.load(options.seed);
        }
    }

    QVCServiceGate::Settings gateSettings(const std::string& host) const {
        return {options.appID, options.appKey, options.adminKey, host, options.limits.maxBodyBytes};
    }

    /// The checks on the headers, in order: well-formed values; for an admin
    /// request (but health) its own checks; for any other the fault it
    /// matches, then the credentials; then the declared body size.
    QVCServiceAdmission admit(const Request& request) {
        QVCServiceAdmission admission;
        const std::string path = request.path();
        std::optional<Fault> fault;
        auto refused = gate.wellFormed(request);
        if (!refused && path.rfind("/__admin/", 0) == 0) {
            refused = path == "/__admin/health" ? std::nullopt : gate.admin(request);
        } else if (!refused) {
            count(path);
            fault = faults.take(request.method, request.target.substr(request.target.empty() ? 0 : 1));
            admission.delayMs = fault ? fault->delayMs : 0;
            refused = fault ? fault->instead() : std::nullopt;
            refused = refused ? refused : gate.credentials(request);
        }
        refused = refused ? refused : gate.bodySize(request);
        if (refused) {
            admission.answer = std::move(refused);
        } else {
            admission.serve = [this, fault](const Request& full) { return serve(full, fault); };
        }
        return admission;
    }

    void count(const std::string& path) {
        std::lock_guard<std::mutex> lock(countsMutex);
        if (counts.size() < maxCountedPaths || counts.count(path.substr(1))) {
            ++counts[path.substr(1)];
        }
    }

    Answer serve(const Request& request, const std::optional<Fault>& fault) {
        Answer answer = route(request);
        if (fault) {
            fault->spoil(answer);
        }
        return answer;
    }

    /// Serves the request by the first route whose method and pattern match
    /// (HEAD as GET). A failure is answered with a message that names no file.
    Answer route(const Request& request) {
        const std::string method = request.method == "HEAD" ? "GET" : request.method;
        const std::string path = request.path();
        try {
            const std::string_view relative = std::string_view(path).substr(path.empty() ? 0 : 1);
            for (const auto& route : routes) {
                if (method == route.method) {
                    if (const auto captures = matchSegments(route.pattern, relative)) {
                        return (this->*route.serve)(request, *captures);
                    }
                }
            }
            throw Refusal{404, "no such request: " + request.method + " " + path};
        } catch (const Refusal& refusal) {
            return Documents::refusal(refusal.status, refusal.message);
        } catch (const Documents::Invalid& invalid) {
            return Documents::refusal(400, invalid.what());
        } catch (const std::exception&) {
            return Documents::refusal(500, "the service could not complete the request");
        }
    }

    /// The consumer id of a path segment, refused with 404 when no such consumer exists.
    std::int64_t knownConsumer(const std::string& segment) {
        const auto id = Documents::wholeNumber(QVCJSON(segment));
        if (!id || !store.consumer(*id)) {
            throw Refusal{404, "no consumer with id \"" + segment + "\""};
        }
        return *id;
    }

    Answer masterData(const Request&, const Captures&) {
        return Documents::answer(200, {{"consumerRs", store.masterData()}});
    }

    Answer authenticate(const Request&, const Captures& taken) {
        const auto found = store.consumerNamed(taken[0]);
        if (!found) {
            throw Refusal{404, "no consumer named \"" + taken[0] + "\""};
        }
        return Documents::answer(200, {{"consumers", {*found}}});
    }

    Answer balance(const Request&, const Captures& taken) {
        const auto balance = store.balance(knownConsumer(taken[0])).value_or(QVCServiceStore::Balance{});
        return Documents::answer(200, Documents::balance(balance.points, balance.status));
    }

    Answer device(const Request& request, const Captures& taken) {
        const auto id = knownConsumer(taken[0]);
        const QVCJSON body = Documents::parse(request.body);
        Documents::checkDevice(body);
        store.registerDevice(id, body.at("deviceToken"), body.at("deviceType"), body.at("en_Push"));
        return Documents::answer(200, {{"status", "registered"}});
    }

    Answer offers(const Request& request, const Captures& taken) {
        knownConsumer(taken[0]);
        if (const auto code = request.query("offerCode")) {
            return Documents::answer(200, store.offersWithCode(*code));
        }
        std::optional<std::int64_t> facility;
        if (const auto given = request.query("facilityId")) {
            facility = Documents::wholeNumber(QVCJSON(*given));
            if (!facility) {
                throw Refusal{400, "facilityId must be a whole number"};
            }
        }
        return Documents::answer(200, store.offers(facility));
    }

    Answer offer(const Request&, const Captures& taken) {
        knownConsumer(taken[0]);
        const auto offer = store.offerWithID(taken[1]);
        if (!offer) {
            throw Refusal{404, "no offer with id \"" + taken[1] + "\""};
        }
        return Documents::answer(200, *offer);
    }

    Answer saveConsumer(const Request& request, const Captures&);
    Answer redeem(const Request& request, const Captures& taken);
    Answer health(const Request&, const Captures&) { return Documents::answer(200, {{"status", "ok"}}); }
    Answer state(const Request&, const Captures&);
    Answer reset(const Request&, const Captures&);
    Answer pendingFaults(const Request&, const Captures&) { return Documents::answer(200, faults.pending()); }
    Answer addFaults(const Request& request, const Captures&);
};

const std::array<QVCReferenceService::Engine::Route, 13> QVCReferenceService::Engine::routes{{
    {"GET", "lqsapi/consumers/v1/data", &Engine::masterData},
    {"GET", "lqsapi/consumers/v1/consumer/{}/authenticate", &Engine::authenticate},
    {"POST", "lqsapi/consumers/v1/consumer", &Engine::saveConsumer},
    {"GET", "lqsapi/consumers/v1/consumer/{}/balance/loyalty", &Engine::balance},
    {"POST", "lqsapi/consumers/v1/consumer/{}/device", &Engine::device},
    {"GET", "lqsapi/consumers/v1/consumers/{}/offers", &Engine::offers},
    {"GET", "lqsapi/consumers/v1/consumers/{}/offers/{}", &Engine::offer},
    {"POST", "lqsapi/consumers/v1/consumers/{}/offers/{}/redeems", &Engine::redeem},
    {"GET", "__admin/health", &Engine::health},
    {"GET", "__admin/state", &Engine::state},
    {"POST", "__admin/reset", &Engine::reset},
    {"GET", "__admin/faults", &Engine::pendingFaults},
    {"POST", "__admin/faults", &Engine::addFaults},
}};

QVCServiceAnswer QVCReferenceService::Engine::saveConsumer(const Request& request, const Captures&) {
    const QVCJSON body = Documents::parse(request.body);
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
        return Documents::answer(200, Documents::consumerSaved(id));
    }
    const auto& consumer = Documents::consumerOf(body, Documents::Variant::SignUp);
    const std::string userName = consumer.at("userId");
    const auto result = store.signUp(userName, [&](std::int64_t id) { return Documents::stored(consumer, id); });
    if (result.outcome == Outcome::Conflict) {
        throw Refusal{409, "user name \"" + userName + "\" is taken"};
    }
    return Documents::answer(200, Documents::consumerSaved(result.id));
}

QVCServiceAnswer QVCReferenceService::Engine::redeem(const Request& request, const Captures& taken) {
    const auto consumerID = knownConsumer(taken[0]);
    const std::string& consumerOfferID = taken[1];
    const auto offer = store.offerWithConsumerOfferID(consumerOfferID);
    if (!offer) {
        throw Refusal{404, "no offer with consumer offer id \"" + consumerOfferID + "\""};
    }
    const QVCJSON body = Documents::parse(request.body);
    Documents::checkRedemption(body);
    const auto terms = Documents::termsOf(*offer);
    if (body.at("offerCode") != terms.code) {
        throw Refusal{400, "offerCode \"" + body.at("offerCode").get<std::string>() + "\" is not the code of offer " +
                               consumerOfferID};
    }
    const auto result = store.redeem({consumerID, consumerOfferID, Documents::text(body.at("referenceId")),
                                      Documents::text(body.at("amount")), body.at("transactionDateTime"),
                                      terms.redeemLimit, terms.points});
    if (result.outcome == Outcome::LimitReached) {
        throw Refusal{409, "offer " + terms.code + " has reached its redeem limit of " +
                               std::to_string(*terms.redeemLimit) + " for consumer " + std::to_string(consumerID)};
    }
    if (result.outcome == Outcome::NotEnoughPoints) {
        throw Refusal{409, "offer " + terms.code + " needs " + std::to_string(terms.points) + " loyalty points"};
    }
    return Documents::redeemed(result.id, result.outcome == Outcome::Repeated);
}

QVCServiceAnswer QVCReferenceService::Engine::state(const Request&, const Captures&) {
    QVCJSON state = store.state();
    state["faults"] = faults.pending();
    std::lock_guard<std::mutex> lock(countsMutex);
    state["requestCounts"] = counts;
    return Documents::answer(200, state);
}

QVCServiceAnswer QVCReferenceService::Engine::reset(const Request&, const Captures&) {
    store.load(options.seed);
    faults.clear();
    std::lock_guard<std::mutex> lock(countsMutex);
    counts.clear();
    return Documents::answer(200, {{"status", "reset"}});
}

QVCServiceAnswer QVCReferenceService::Engine::addFaults(const Request& request, const Captures&) {
    const QVCJSON body = Documents::parse(request.body);
    std::vector<Fault> added;
    try {
        for (const auto& description : body.is_array() ? body : QVCJSON::array({body})) {
            added.push_back(QVCServiceFaults::parse(description));
        }
    } catch (const std::invalid_argument& failure) {
        throw Refusal{400, failure.what()};
    }
    for (auto& fault : added) {
        faults.add(std::move(fault));
    }
    return Documents::answer(200, faults.pending());
}

QVCReferenceService::QVCReferenceService(Options options) : engine_(std::make_unique<Engine>(std::move(options))) {}

QVCReferenceService::~QVCReferenceService() {
    stop();
}

int QVCReferenceService::start(const std::string& host, int port) {
    engine_->gate = QVCServiceGate(engine_->gateSettings(host));
    engine_->http = std::make_unique<QVCServiceHTTP>(
        engine_->options.limits, [engine = engine_.get()](const Request& request) { return engine->admit(request); });
    const int bound = engine_->http->start(host, port);
    engine_->url =
        "http://" + (host.find(':') == std::string::npos ? host : "[" + host + "]") + ":" + std::to_string(bound) + "/";
    return bound;
}

void QVCReferenceService::stop() {
    if (engine_->http) {
        engine_->http->stop();
    }
}

std::string QVCReferenceService::url() const {
    return engine_->url;
}

QVCServiceAnswer QVCReferenceService::handle(const QVCServiceRequest& request) {
    auto admission = engine_->admit(request);
    return admission.answer ? *admission.answer : admission.serve(request);
}
