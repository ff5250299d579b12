#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "QVConsumer/QVConsumerManager.h"
#include "TransportTestSupport.h"
#include "platform/QVCEnvironment.h"
#include "platform/QVCHTTPWebServiceHandler.h"

#if defined(__SANITIZE_THREAD__)
// The test server's library is not built with ThreadSanitizer: its own atomics are
// invisible to it, so the races it reports inside that library are not ours.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libcpp-httplib.so\n";
}
#endif

namespace {

using Kind = QVCErrorResponse::Kind;
using namespace std::chrono_literals;

/// An HTTP server on a loopback port chosen at run time, counting what it receives.
class LoopbackServer {
public:
    LoopbackServer() {
        server.new_task_queue = [] { return new httplib::ThreadPool(16); };
        server.set_keep_alive_max_count(1000);
        server.set_tcp_nodelay(true);
        port = server.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server.listen_after_bind(); });
        for (int i = 0; i < 200 && !server.is_running(); ++i) {
            std::this_thread::sleep_for(5ms);
        }
    }
    ~LoopbackServer() {
        server.stop();
        thread_.join();
    }
    std::string root() const { return "http://127.0.0.1:" + std::to_string(port); }

    /// Remembers the request and counts it under its path.
    void record(const httplib::Request& request) {
        std::lock_guard<std::mutex> lock(mutex);
        last = request;
        ++counts[request.path];
        ports.insert(request.remote_port);
    }
    int count(const std::string& path) {
        std::lock_guard<std::mutex> lock(mutex);
        return counts[path];
    }

    httplib::Server server;
    int port = 0;
    std::mutex mutex;
    httplib::Request last;
    std::map<std::string, int> counts;
    std::set<int> ports;

private:
    std::thread thread_;
};

class HTTPTransport : public ::testing::Test {
protected:
    HTTPTransport() {
        configuration.serviceRootURL = server.root();
        configuration.totalTimeoutMs = 2000;
        configuration.connectTimeoutMs = 1000;
        configuration.retryBaseDelayMs = 1;
        configuration.retryMaxDelayMs = 2000;
        auto reply = [this](int status, std::string body, std::string type) {
            return [this, status, body, type](const httplib::Request& request, httplib::Response& response) {
                server.record(request);
                response.status = status;
                response.set_content(body, type.c_str());
            };
        };
        server.server.Get("/ok", reply(200, R"({"a":1})", "application/json"));
        server.server.Get("/html", reply(200, "<html>maintenance</html>", "text/html"));
        server.server.Get("/missing",
                          reply(404, R"({"httpResponseCode":404,"message":"no such consumer"})", "application/json"));
        server.server.Get("/down", reply(500, "database down", "text/plain"));
        server.server.Get("/nothing", reply(204, "", "text/plain"));
        server.server.Get("/always503", reply(503, "", "text/plain"));
        server.server.Post("/always503", reply(503, "", "text/plain"));
        server.server.Post("/echo", [this](const httplib::Request& request, httplib::Response& response) {
            server.record(request);
            response.status = 201;
            response.set_header("Location", "redeems/7");
            response.set_content(request.body, "application/json");
        });
        server.server.Get(R"(/item/(\d+))", [this](const httplib::Request& request, httplib::Response& response) {
            server.record(request);
            response.set_content("{\"i\":" + std::string(request.matches[1]) + "}", "application/json");
        });
        server.server.Get("/flaky", [this](const httplib::Request& request, httplib::Response& response) {
            server.record(request);
            bool fail = server.count("/flaky") < 3;
            response.status = fail ? 502 : 200;
            response.set_content(fail ? "" : "[1]", "application/json");
        });
        server.server.Get("/busy", [this](const httplib::Request& request, httplib::Response& response) {
            server.record(request);
            bool first = server.count("/busy") == 1;
            response.status = first ? 429 : 200;
            if (first) {
                response.set_header("Retry-After", "1");
            }
            response.set_content("{}", "application/json");
        });
        auto slow = [this](const httplib::Request& request, httplib::Response& response) {
            server.record(request);
            std::this_thread::sleep_for(900ms);
            response.set_content("{}", "application/json");
        };
        server.server.Get("/slow", slow);
        server.server.Post("/slow", slow);
        server.server.Get("/big", reply(200, "[" + std::string(5000, ' ') + "]", "application/json"));
        server.server.Get("/bigstream", [this](const httplib::Request& request, httplib::Response& response) {
            server.record(request);
            response.set_chunked_content_provider("application/json", [](std::size_t offset, httplib::DataSink& sink) {
                if (offset > 20000) {
                    sink.done();
                    return true;
                }
                std::string chunk(1000, ' ');
                return sink.write(chunk.data(), chunk.size());
            });
        });
        server.server.Get(R"([\s\S]*)", [this](const httplib::Request& request, httplib::Response& response) {
            server.record(request);
            response.status = 404;
        });
    }

    std::unique_ptr<QVCHTTPWebServiceHandler> handler() {
        return std::make_unique<QVCHTTPWebServiceHandler>(configuration, "app-7", "secret-key-42");
    }

    /// Sends one request and waits for its answer.
    QVCResponse ask(const std::string& path, std::int64_t method = 0, std::optional<QVCJSON> body = std::nullopt) {
        auto transport = handler();
        AnswerCollector collector;
        transport->requestWithPath(path, method, "consumers", std::nullopt, body, 0, std::nullopt,
                                   collector.completion());
        return collector.single();
    }

    LoopbackServer server;
    QVCPlatformConfiguration configuration;
};

TEST_F(HTTPTransport, MapsAnswersAndFailuresToResponses) {
    QVCResponse ok = ask("ok");
    EXPECT_FALSE(ok.error()) << describe(ok);
    EXPECT_EQ(ok.body(), std::optional<QVCJSON>(QVCJSON{{"a", 1}}));
    EXPECT_EQ(ok.headerValue("content-type"), std::optional<std::string>("application/json"));
    QVCResponse empty = ask("nothing");
    EXPECT_FALSE(empty.error() || empty.body()) << describe(empty);

    QVCResponse html = ask("html");
    EXPECT_EQ(kindOf(html), Kind::Transport);
    EXPECT_THAT(describe(html), HasSubstr("GET html: answer is not JSON"));

    QVCResponse missing = ask("missing");
    EXPECT_EQ(kindOf(missing), Kind::HTTPStatus);
    EXPECT_EQ(missing.error()->httpStatus(), 404);
    EXPECT_THAT(describe(missing), HasSubstr("no such consumer"));
    ASSERT_TRUE(missing.objectForKey("httpResponseCode")) << "error bodies are parsed too";
    EXPECT_EQ(*missing.objectForKey("httpResponseCode"), 404);

    QVCResponse down = ask("down");
    EXPECT_EQ(down.error()->httpStatus(), 500);
    EXPECT_THAT(describe(down), HasSubstr("database down"));
    EXPECT_FALSE(down.body());
    for (const auto& response : {html, missing, down}) {
        EXPECT_THAT(describe(response), Not(HasSubstr("secret-key-42")));
    }
}

TEST_F(HTTPTransport, SendsCredentialsMethodAndBody) {
    QVCJSON body = {{"deviceToken", "t"}, {"deviceType", "iOS"}, {"en_Push", 1}};
    QVCResponse posted = ask("echo", 1, body);
    EXPECT_FALSE(posted.error()) << describe(posted);
    EXPECT_EQ(posted.body(), std::optional<QVCJSON>(body));
    EXPECT_EQ(posted.headerValue("LOCATION"), std::optional<std::string>("redeems/7"));
    {
        std::lock_guard<std::mutex> lock(server.mutex);
        EXPECT_EQ(server.last.method, "POST");
        EXPECT_EQ(server.last.get_header_value("X-App-Id"), "app-7");
        EXPECT_EQ(server.last.get_header_value("X-App-Key"), "secret-key-42");
        EXPECT_EQ(server.last.get_header_value("Content-Type"), "application/json");
    }
    ask("ok");
    std::lock_guard<std::mutex> lock(server.mutex);
    EXPECT_EQ(server.last.method, "GET");
    EXPECT_TRUE(server.last.body.empty());
    EXPECT_EQ(server.last.get_header_value("X-App-Key"), "secret-key-42");
}

TEST_F(HTTPTransport, CapsTheAnswerSizeWhileReceiving) {
    configuration.maxAnswerBytes = 1000;
    for (const char* path : {"big", "bigstream"}) {
        QVCResponse response = ask(path);
        EXPECT_EQ(kindOf(response), Kind::Transport) << path;
        EXPECT_THAT(describe(response), HasSubstr("answer larger than 1000 bytes"));
    }
}

TEST_F(HTTPTransport, TimesOutAndReportsAnUnknownOutcomeForASentPost) {
    configuration.totalTimeoutMs = 250;
    configuration.maxRetries = 0;
    QVCResponse read = ask("slow");
    EXPECT_EQ(kindOf(read), Kind::Timeout);
    EXPECT_THAT(describe(read), HasSubstr("timed out after 250 ms"));

    QVCResponse sent = ask("slow", 1, QVCJSON{{"amount", "12.00"}});
    EXPECT_EQ(kindOf(sent), Kind::OutcomeUnknown);
    EXPECT_THAT(describe(sent), HasSubstr("may have reached the service"));
}

TEST_F(HTTPTransport, ReportsConnectionRefused) {
    int closedPort;
    {
        LoopbackServer gone;
        closedPort = gone.port;
    }
    configuration.serviceRootURL = "http://127.0.0.1:" + std::to_string(closedPort) + "/";
    configuration.maxRetries = 1;
    for (std::int64_t method : {0, 1}) {
        QVCResponse response = ask("ok", method, QVCJSON::object());
        EXPECT_EQ(kindOf(response), Kind::Transport);
        EXPECT_THAT(describe(response), HasSubstr("connection refused"));
    }
}

TEST_F(HTTPTransport, RetriesTransientGetFailuresButNeverAPost) {
    configuration.maxRetries = 3;
    QVCResponse recovered = ask("flaky");
    EXPECT_FALSE(recovered.error()) << describe(recovered);
    EXPECT_EQ(server.count("/flaky"), 3);

    configuration.maxRetries = 2;
    QVCResponse exhausted = ask("always503");
    EXPECT_EQ(exhausted.error()->httpStatus(), 503);
    EXPECT_EQ(server.count("/always503"), 3) << "one attempt and two retries";

    ask("always503", 1, QVCJSON::object());
    EXPECT_EQ(server.count("/always503"), 4) << "a POST that reached the service is not sent again";

    ask("missing");
    EXPECT_EQ(server.count("/missing"), 1) << "a 404 is not transient";
}

TEST_F(HTTPTransport, HonoursRetryAfter) {
    auto started = std::chrono::steady_clock::now();
    QVCResponse response = ask("busy");
    EXPECT_FALSE(response.error()) << describe(response);
    EXPECT_EQ(server.count("/busy"), 2);
    EXPECT_GE(std::chrono::steady_clock::now() - started, 900ms);
}

TEST_F(HTTPTransport, EncodesWhatCannotStandInAURL) {
    EXPECT_EQ(QVCHTTPWebServiceHandler::encodeForURL("c/a b\r\nHost: x/auth?code=1#2"),
              "c/a%20b%0D%0AHost:%20x/auth?code=1%232");
    EXPECT_EQ(QVCHTTPWebServiceHandler::encodeForURL("u/\xc3\xa9\x7f<\"{|}>"), "u/%C3%A9%7F%3C%22%7B%7C%7D%3E");
    EXPECT_EQ(QVCHTTPWebServiceHandler::encodeForURL("offers?offerCode=AB12&facilityId=7"),
              "offers?offerCode=AB12&facilityId=7");

    std::string hostile = "lqsapi/consumers/v1/consumer/a b\r\nX-Evil: 1\r\n\r\nGET /x/../100%zz/authenticate";
    QVCResponse response = ask(hostile);
    EXPECT_EQ(response.error() ? response.error()->httpStatus() : 0, 404);
    std::lock_guard<std::mutex> lock(server.mutex);
    EXPECT_EQ(server.last.path, "/" + hostile) << "the server sees the whole input as the path";
    EXPECT_FALSE(server.last.has_header("X-Evil"));
    int received = 0;
    for (const auto& [path, count] : server.counts) {
        received += count;
    }
    EXPECT_EQ(received, 1);
}

TEST_F(HTTPTransport, CompletesTwoHundredConcurrentRequestsOnceEachOnOneThread) {
    auto transport = handler();
    std::mutex mutex;
    std::map<int, int> calls;
    AnswerCollector collector;
    auto collect = collector.completion();
    for (int i = 0; i < 200; ++i) {
        sendGet(*transport, "item/" + std::to_string(i), std::nullopt, [&, i, collect](const QVCResponse& response) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                calls[i] += response.body() && (*response.body())["i"] == i ? 1 : 100;
            }
            collect(response);
        });
    }
    ASSERT_TRUE(collector.waitFor(200, 20s));
    std::this_thread::sleep_for(50ms);  // a second call of any completion would show now
    std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(calls.size(), 200u);
    for (const auto& [i, count] : calls) {
        EXPECT_EQ(count, 1) << "request " << i;
    }
    auto delivered = collector.threads();
    EXPECT_EQ(std::set<std::thread::id>(delivered.begin(), delivered.end()).size(), 1u);
    EXPECT_NE(delivered.front(), std::this_thread::get_id());
    std::lock_guard<std::mutex> serverLock(server.mutex);
    EXPECT_LT(server.ports.size(), 50u) << "connections are reused";
}

TEST_F(HTTPTransport, DestructionCancelsRequestsInFlightOnceEach) {
    AnswerCollector collector;
    auto transport = handler();
    for (int i = 0; i < 5; ++i) {
        sendGet(*transport, "slow", std::nullopt, collector.completion());
    }
    std::this_thread::sleep_for(100ms);
    auto started = std::chrono::steady_clock::now();
    transport.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - started, 500ms) << "destruction does not wait for the answers";
    auto answers = collector.answers();
    ASSERT_EQ(answers.size(), 5u);
    for (const auto& answer : answers) {
        EXPECT_EQ(kindOf(answer), Kind::Cancelled);
        EXPECT_THAT(describe(answer), HasSubstr("GET slow: cancelled"));
    }
}

TEST_F(HTTPTransport, RefusesUnsafeOrMissingConfigurationWithoutSending) {
    struct Case {
        std::string root;
        bool allowPlainHTTP;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"", false, "no service root URL is configured: set QVCONSUMER_SERVICE_URL"},
        {"http://service.invalid/", false, "plain http to service.invalid is refused"},
        {"ftp://127.0.0.1/", false, "must use https or http, not ftp"},
        {"not a url", false, "is not a valid URL"},
    };
    for (const auto& c : cases) {
        configuration.serviceRootURL = c.root;
        configuration.allowPlainHTTP = c.allowPlainHTTP;
        QVCResponse response = ask("ok");
        EXPECT_EQ(kindOf(response), Kind::General) << c.root;
        EXPECT_THAT(describe(response), HasSubstr(c.expected));
    }
    configuration.serviceRootURL = server.root();
    QVCResponse badMethod = ask("ok", 2);
    EXPECT_THAT(describe(badMethod), HasSubstr("unknown httpMethod"));
    EXPECT_EQ(server.count("/ok"), 0);
}

TEST(PlatformConfiguration, LaysTheEnvironmentOverTheGivenSettingsAndNamesBadValues) {
    QVCPlatformConfiguration base;
    base.totalTimeoutMs = 1234;
    QVCPlatformConfiguration overlaid;
    {
        ScopedEnvironment url("QVCONSUMER_SERVICE_URL", "https://service.test/root"),
            connect("QVCONSUMER_CONNECT_TIMEOUT_MS", "250"), plain("QVCONSUMER_ALLOW_PLAIN_HTTP", "yes"),
            retries("QVCONSUMER_MAX_RETRIES", "-1");
        overlaid = QVCPlatformConfiguration::fromEnvironment(base);
    }
    EXPECT_EQ(overlaid.serviceRootURL, "https://service.test/root");
    EXPECT_EQ(overlaid.connectTimeoutMs, 250);
    EXPECT_EQ(overlaid.totalTimeoutMs, 1234) << "unset variables keep the given value";
    EXPECT_TRUE(overlaid.allowPlainHTTP);
    EXPECT_EQ(overlaid.maxRetries, 2);
    ASSERT_EQ(overlaid.problems.size(), 1u);
    EXPECT_THAT(overlaid.problems[0], HasSubstr("QVCONSUMER_MAX_RETRIES"));

    QVCHTTPWebServiceHandler transport(overlaid, "a", "k");
    AnswerCollector collector;
    sendGet(transport, "x", std::nullopt, collector.completion());
    EXPECT_THAT(describe(collector.single()), HasSubstr("QVCONSUMER_MAX_RETRIES must be a whole number"));
}

TEST_F(HTTPTransport, ALiveManagerSendsTheLibrarysExactRequest) {
    auto manager = QVConsumerManager::initWithAppID("app-7", "secret-key-42", std::make_shared<QVCCompanyInfo>(),
                                                    "1234", QVCEnvironmentLive, nullptr);
    ASSERT_TRUE(manager);
    server.server.Post(R"(/lqsapi/consumers/v1/consumer/1234/device)",
                       [this](const httplib::Request& request, httplib::Response& response) {
                           server.record(request);
                           response.set_content("{}", "application/json");
                       });
    configuration.serviceRootURL = server.root() + "/";
    manager->setPlatformConfiguration(configuration);
    std::promise<bool> outcome;
    manager->setPushDeviceToken("device-token", [&](bool success, QVConsumerManager::Error error, std::exception_ptr) {
        EXPECT_FALSE(error) << (error ? error->description() : "");
        outcome.set_value(success);
    });
    auto future = outcome.get_future();
    ASSERT_EQ(future.wait_for(10s), std::future_status::ready);
    EXPECT_TRUE(future.get());
    std::lock_guard<std::mutex> lock(server.mutex);
    EXPECT_EQ(server.last.path, "/lqsapi/consumers/v1/consumer/1234/device");
    EXPECT_EQ(QVCJSON::parse(server.last.body),
              (QVCJSON{{"deviceToken", "device-token"}, {"deviceType", "iOS"}, {"en_Push", 1}}));
    EXPECT_EQ(server.last.get_header_value("X-App-Id"), "app-7");
}

}  // namespace
