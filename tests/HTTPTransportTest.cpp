#include <httplib.h>

#include <limits>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "TransportTestSupport.h"
#include "platform/QVCHTTPWebServiceHandler.h"

#if defined(__SANITIZE_THREAD__)  // g++
#define QVC_THREAD_SANITIZER 1
#elif defined(__has_feature)  // clang
#if __has_feature(thread_sanitizer)
#define QVC_THREAD_SANITIZER 1
#endif
#endif

#if defined(QVC_THREAD_SANITIZER)
// The test server's library is not built with ThreadSanitizer: its own atomics are
// invisible to it, so the races it reports inside that library are not ours.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libcpp-httplib.so\n";
}
#endif

namespace {

using Kind = QVCErrorResponse::Kind;
using namespace std::chrono_literals;

/// Runs an HTTP server on a loopback port chosen at run time, counting what it receives.
class HTTPTransport : public ::testing::Test {
protected:
    HTTPTransport() {
        auto reply = [this](int status, std::string body, std::string type = "application/json") {
            return [this, status, body, type](const httplib::Request& request, httplib::Response& response) {
                record(request);
                response.status = status;
                response.set_content(body, type.c_str());
            };
        };
        server.Get(route("ok"), reply(200, R"({"a":1})"));
        server.Get(route("html"), reply(200, "<html>maintenance</html>", "text/html"));
        server.Get(route("missing"), reply(404, R"({"httpResponseCode":404,"message":"no such consumer"})"));
        server.Get(route("down"), reply(500, "database\r\n  down\n", "text/plain"));
        server.Get(route("nothing"), reply(204, "", "text/plain"));
        server.Get(route("big"), reply(200, "[" + std::string(5000, ' ') + "]"));
        server.Post(route("ok", 1), reply(200, "{}"));
        server.Get(route(R"((\d+))"), [this](const httplib::Request& request, httplib::Response& response) {
            record(request);
            response.set_content("{\"i\":" + std::string(request.matches[1]) + "}", "application/json");
        });
        // Retry-After routes: the first request gets status, later ones 200.
        auto retryAfter = [this](const std::string& name, int status, const std::string& after) {
            server.Get(route(name),
                       [this, name, status, after](const httplib::Request& request, httplib::Response& response) {
                           record(request);
                           response.status = count(name) == 1 ? status : 200;
                           response.set_header("Retry-After", after);
                           response.set_content("{}", "application/json");
                       });
        };
        retryAfter("busy", 429, "1");
        retryAfter("farFuture", 503, "10000000000000000");
        retryAfter("past", 503, "Wed, 21 Oct 2015 07:28:00 GMT");
        auto slow = [this](const httplib::Request& request, httplib::Response& response) {
            record(request);
            std::this_thread::sleep_for(900ms);
            response.set_content("{}", "application/json");
        };
        server.Get(route("slow"), slow);
        server.Post(route("slow", 1), slow);
        server.Get(route("bigstream"), [](const httplib::Request&, httplib::Response& response) {
            response.set_chunked_content_provider("application/json", [](std::size_t offset, httplib::DataSink& sink) {
                std::string chunk(1000, ' ');
                return offset > 20000 ? (sink.done(), true) : sink.write(chunk.data(), chunk.size());
            });
        });
        server.Get(R"([\s\S]*)", reply(404, ""));

        server.new_task_queue = [] { return new httplib::ThreadPool(16); };
        server.set_keep_alive_max_count(1000);
        server.set_tcp_nodelay(true);
        root = "http://127.0.0.1:" + std::to_string(server.bind_to_any_port("127.0.0.1"));
        thread_ = std::thread([this] { server.listen_after_bind(); });
        for (int i = 0; i < 200 && !server.is_running(); ++i) {
            std::this_thread::sleep_for(5ms);
        }
        configuration.serviceRootURL = root;
        configuration.retryBaseDelayMs = 1;
    }
    ~HTTPTransport() override { stopServer(); }
    void stopServer() {
        server.stop();
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    void record(const httplib::Request& request) {
        std::lock_guard<std::mutex> lock(mutex_);
        last_ = request;
        ++counts_[request.path];
    }
    /// The requests that reached route(name, method).
    int count(const std::string& name, std::int64_t method = 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        return counts_[route(name, method)];
    }
    httplib::Request last() {
        std::lock_guard<std::mutex> lock(mutex_);
        return last_;
    }

    std::unique_ptr<QVCHTTPWebServiceHandler> handler() {
        return std::make_unique<QVCHTTPWebServiceHandler>(configuration, "app-7", "secret-key-42");
    }

    /// The path of test route name in one of the library's request shapes, which
    /// the transport alone sends: an offer by id for a GET, its redemption for a POST.
    static std::string shaped(const std::string& name, std::int64_t method = 0) {
        return "lqsapi/consumers/v1/consumers/1/offers/" + name + (method == 1 ? "/redeems" : "");
    }
    static std::string route(const std::string& name, std::int64_t method = 0) { return "/" + shaped(name, method); }

    /// Sends one request to route name and waits for its answer.
    QVCResponse ask(const std::string& name, std::int64_t method = 0, std::optional<QVCJSON> body = std::nullopt) {
        body = method == 1 ? body : std::nullopt;  // a GET carries none
        auto transport = handler();
        AnswerCollector collector;
        transport->requestWithPath(shaped(name, method), method, "consumers", std::nullopt, body, 0, std::nullopt,
                                   collector.completion());
        return collector.single();
    }

    httplib::Server server;
    std::string root;
    QVCPlatformConfiguration configuration;

private:
    std::thread thread_;
    std::mutex mutex_;
    httplib::Request last_;
    std::map<std::string, int> counts_;
};

TEST_F(HTTPTransport, MapsAnswersToResponses) {
    QVCResponse ok = ask("ok");
    EXPECT_EQ(ok.bodyJSON(), std::optional<QVCJSON>(QVCJSON{{"a", 1}})) << describe(ok);
    EXPECT_EQ(ok.headerValue("CONTENT-TYPE"), std::optional<std::string>("application/json"));
    QVCResponse empty = ask("nothing");
    EXPECT_FALSE(empty.error() || empty.bodyJSON()) << describe(empty);
    QVCResponse missing = ask("missing");
    EXPECT_EQ(missing.error() ? missing.error()->httpStatus() : 0, 404);
    EXPECT_EQ(count("missing"), 1) << "a 404 is not retried";
    ASSERT_TRUE(missing.objectForKey("httpResponseCode")) << "error bodies are parsed too";
}

TEST_F(HTTPTransport, SendsCredentialsAndTheBodyAndTracesEveryAttempt) {
    std::vector<QVCHTTPExchange> seen;  // written before each answer is delivered
    configuration.trace = [&](const QVCHTTPExchange& exchange) { seen.push_back(exchange); };
    ask("past");
    EXPECT_EQ(last().get_header_value("X-App-Id"), "app-7");
    EXPECT_EQ(last().get_header_value("X-App-Key"), "secret-key-42");
    const QVCJSON body = {{"deviceToken", "t"}, {"deviceType", "iOS"}, {"en_Push", 1}};
    EXPECT_FALSE(ask("ok", 1, body).error());
    EXPECT_EQ(QVCJSON::parse(last().body), body);
    EXPECT_EQ(last().get_header_value("Content-Type"), "application/json");
    EXPECT_EQ(last().get_header_value("X-App-Key"), "secret-key-42");
    stopServer();
    ask("ok");
    ASSERT_EQ(seen.size(), 6U) << "503 and its retry (Retry-After in the past), the POST, three refused";
    EXPECT_EQ(seen[0].status, 503);
    EXPECT_EQ(seen[1].status, 200);
    EXPECT_EQ(seen[1].method + " " + seen[1].url, "GET " + root + route("past"));
    EXPECT_EQ(seen[1].bytesReceived, 2U);
    EXPECT_EQ(seen[2].method, "POST");
    EXPECT_EQ(seen[2].bytesSent, body.dump().size());
    EXPECT_FALSE(seen[5].status);
    EXPECT_EQ(seen[5].failure, "connection refused");
}

TEST_F(HTTPTransport, ReportsEachFailureWithItsKindAndCauseButNotTheKey) {
    configuration.maxAnswerBytes = 1000;
    configuration.totalTimeoutMs = 250;
    configuration.maxRetries = 0;
    const std::tuple<const char*, std::int64_t, Kind, const char*> cases[] = {
        {"html", 0, Kind::Transport, "offers/html: answer is not JSON"},
        {"missing", 0, Kind::HTTPStatus, "status 404: no such consumer"},
        {"down", 0, Kind::HTTPStatus, "status 500: database down"},
        {"big", 0, Kind::Transport, "answer larger than 1000 bytes"},
        {"bigstream", 0, Kind::Transport, "answer larger than 1000 bytes"},
        {"slow", 0, Kind::Timeout, "timed out after 250 ms"},
        {"slow", 1, Kind::OutcomeUnknown, "may have reached the service"},
    };
    for (const auto& [name, method, kind, cause] : cases) {
        QVCResponse response = ask(name, method, QVCJSON{{"amount", "12.00"}});
        EXPECT_EQ(kindOf(response), kind) << name;
        EXPECT_THAT(describe(response), HasSubstr(cause));
        EXPECT_THAT(describe(response), Not(HasSubstr("secret-key-42")));
        EXPECT_THAT(describe(response), Not(HasSubstr("\n"))) << "one line, even for a multi-line body";
    }
    stopServer();
    configuration.maxRetries = 1;
    for (std::int64_t method : {0, 1}) {  // even a POST is known not to have reached the service
        QVCResponse refused = ask("ok", method, QVCJSON::object());
        EXPECT_EQ(kindOf(refused), Kind::Transport);
        EXPECT_THAT(describe(refused), HasSubstr("connection refused"));
    }
}

TEST_F(HTTPTransport, HonoursRetryAfterUnlessItOutlastsTheBudget) {
    auto started = std::chrono::steady_clock::now();
    QVCResponse busy = ask("busy");
    EXPECT_FALSE(busy.error()) << describe(busy);
    EXPECT_EQ(count("busy"), 2);
    EXPECT_GE(std::chrono::steady_clock::now() - started, 900ms);

    started = std::chrono::steady_clock::now();
    QVCResponse farFuture = ask("farFuture");
    EXPECT_EQ(farFuture.error() ? farFuture.error()->httpStatus() : 0, 503) << describe(farFuture);
    EXPECT_EQ(count("farFuture"), 1);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s) << "the request ends at once instead of waiting";
}

TEST_F(HTTPTransport, CompletesTwoHundredConcurrentRequestsOnceEachOnOneThread) {
    auto transport = handler();
    AnswerCollector collector;
    for (int i = 0; i < 200; ++i) {
        sendGet(*transport, shaped(std::to_string(i)), std::nullopt, collector.completion());
    }
    ASSERT_TRUE(collector.waitFor(200, 20s));
    std::this_thread::sleep_for(50ms);  // a second call of any completion would show now
    std::set<int> answered;
    for (const auto& answer : collector.answers()) {
        answered.insert(answer.bodyJSON() ? answer.bodyJSON()->value("i", -1) : -1);
    }
    EXPECT_EQ(collector.answers().size(), 200u);
    EXPECT_EQ(answered.size(), 200u) << "each request got its own answer";
    auto delivered = collector.threads();
    EXPECT_EQ(std::set<std::thread::id>(delivered.begin(), delivered.end()).size(), 1u);
    EXPECT_NE(delivered.front(), std::this_thread::get_id());
}

TEST_F(HTTPTransport, DestructionCancelsRequestsInFlightOnceEach) {
    AnswerCollector collector;
    auto transport = handler();
    for (int i = 0; i < 5; ++i) {
        sendGet(*transport, shaped("slow"), std::nullopt, collector.completion());
    }
    std::this_thread::sleep_for(100ms);
    auto started = std::chrono::steady_clock::now();
    transport.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - started, 500ms) << "destruction does not wait for the answers";
    auto answers = collector.answers();
    ASSERT_EQ(answers.size(), 5u);
    for (const auto& answer : answers) {
        EXPECT_EQ(kindOf(answer), Kind::Cancelled) << describe(answer);
    }
}

TEST_F(HTTPTransport, RefusesUnsafeOrMissingConfigurationWithoutSending) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "no service root URL is configured: set QVCONSUMER_SERVICE_URL"},
        {"http://service.invalid/", "plain http to service.invalid is refused"},
        {"ftp://127.0.0.1/", "must use https or http, not ftp"},
        {"not a url", "is not a valid URL"},
    };
    for (const auto& [url, expected] : cases) {
        configuration.serviceRootURL = url;
        QVCResponse response = ask("ok");
        EXPECT_EQ(kindOf(response), Kind::General) << url;
        EXPECT_THAT(describe(response), HasSubstr(expected));
    }
    configuration.serviceRootURL = root;
    EXPECT_THAT(describe(ask("ok", 2)), HasSubstr("unknown httpMethod"));
    configuration.problems = {"QVCONSUMER_MAX_RETRIES is not usable"};
    EXPECT_THAT(describe(ask("ok")), HasSubstr("QVCONSUMER_MAX_RETRIES is not usable"));
    EXPECT_EQ(count("ok"), 0);
}

TEST(PlatformConfiguration, LaysTheEnvironmentOverTheGivenSettingsAndNamesBadValues) {
    QVCPlatformConfiguration base;
    base.totalTimeoutMs = 1234;
    QVCPlatformConfiguration overlaid;
    {
        ScopedEnvironment url("QVCONSUMER_SERVICE_URL", "https://service.test/root"),
            connect("QVCONSUMER_CONNECT_TIMEOUT_MS", "250"), plain("QVCONSUMER_ALLOW_PLAIN_HTTP", "yes"),
            bundle("QVCONSUMER_CA_BUNDLE", "/etc/ca.pem"), retries("QVCONSUMER_MAX_RETRIES", "-1");
        overlaid = QVCPlatformConfiguration::fromEnvironment(base);
    }
    EXPECT_EQ(overlaid.serviceRootURL, "https://service.test/root");
    EXPECT_EQ(overlaid.connectTimeoutMs, 250);
    EXPECT_EQ(overlaid.totalTimeoutMs, 1234) << "unset variables keep the given value";
    EXPECT_TRUE(overlaid.allowPlainHTTP);
    EXPECT_EQ(overlaid.caBundlePath, std::optional<std::string>("/etc/ca.pem"));
    EXPECT_EQ(overlaid.maxRetries, 2);
    ASSERT_EQ(overlaid.problems.size(), 1u);
    EXPECT_THAT(overlaid.problems[0], HasSubstr("QVCONSUMER_MAX_RETRIES must be a whole number"));

    ScopedEnvironment timeout("QVCONSUMER_TIMEOUT_MS", "86400001"), retries("QVCONSUMER_MAX_RETRIES", "11");
    const auto tooLarge = QVCPlatformConfiguration::fromEnvironment(base).problems;
    ASSERT_EQ(tooLarge.size(), 2u);
    EXPECT_THAT(tooLarge[0], HasSubstr("QVCONSUMER_TIMEOUT_MS must be a whole number from 1 to 86400000"));
    EXPECT_THAT(tooLarge[1], HasSubstr("QVCONSUMER_MAX_RETRIES must be a whole number from 0 to 10"));
}

TEST(PlatformConfiguration, BoundsDurationsBeforeComputingARequestsBudget) {
    QVCPlatformConfiguration configuration;
    configuration.totalTimeoutMs = std::numeric_limits<long>::max();
    configuration.retryMaxDelayMs = std::numeric_limits<long>::max();
    configuration.retryBaseDelayMs = -5;
    configuration.maxRetries = std::numeric_limits<int>::max();
    const QVCPlatformConfiguration bounded = configuration.bounded();
    EXPECT_EQ(bounded.totalTimeoutMs, QVCPlatformConfiguration::maxDurationMs);
    EXPECT_EQ(bounded.retryBaseDelayMs, 0);
    EXPECT_EQ(bounded.maxRetries, QVCPlatformConfiguration::maxRetriesLimit);
    EXPECT_EQ(configuration.requestBudget(), std::chrono::milliseconds(21 * QVCPlatformConfiguration::maxDurationMs));
}

}  // namespace
