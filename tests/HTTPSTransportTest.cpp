#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "TransportTestSupport.h"
#include "platform/QVCHTTPWebServiceHandler.h"

namespace {

using Kind = QVCErrorResponse::Kind;
using namespace std::chrono_literals;

/// A file of tests/data/tls (see README.txt there).
std::string tlsFile(const std::string& name) {
    return (std::filesystem::path(__FILE__).parent_path() / "data" / "tls" / name).string();
}

/// An HTTPS server on a loopback port chosen at run time with the certificate
/// tests/data/tls/<name>.pem, answering {"a":1} to GET /ok.
class TLSServer : public httplib::SSLServer {
public:
    explicit TLSServer(const std::string& name)
        : httplib::SSLServer(tlsFile(name + ".pem").c_str(), tlsFile(name + ".key").c_str()) {
        EXPECT_TRUE(is_valid()) << "the test certificate or key could not be loaded";
        Get("/ok", [this](const httplib::Request&, httplib::Response& response) {
            ++requests;
            response.set_content(R"({"a":1})", "application/json");
        });
        port = bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { listen_after_bind(); });
        for (int i = 0; i < 200 && !is_running(); ++i) {
            std::this_thread::sleep_for(5ms);
        }
    }
    ~TLSServer() override {
        stop();
        thread_.join();
    }

    int port = 0;
    std::atomic<int> requests{0};

private:
    std::thread thread_;
};

/// Sends GET ok to server, addressed by host, and waits for the answer.
QVCResponse askOk(QVCPlatformConfiguration configuration, const TLSServer& server,
                  const std::string& host = "127.0.0.1") {
    configuration.serviceRootURL = "https://" + host + ":" + std::to_string(server.port) + "/";
    configuration.connectTimeoutMs = 1000;
    configuration.totalTimeoutMs = 2000;
    configuration.maxRetries = 0;
    QVCHTTPWebServiceHandler transport(configuration, "app-7", "secret-key-42");
    AnswerCollector collector;
    sendGet(transport, "ok", std::nullopt, collector.completion());
    return collector.single();
}

TEST(HTTPSTransport, RefusesACertificateItCannotVerifyAndSaysHowToTrustIt) {
    TLSServer server("localhost");
    QVCResponse response = askOk(QVCPlatformConfiguration(), server);
    EXPECT_EQ(kindOf(response), Kind::Transport);
    EXPECT_THAT(describe(response), HasSubstr("GET ok: the service's certificate could not be verified"));
    EXPECT_THAT(describe(response), HasSubstr("QVCONSUMER_CA_BUNDLE"));

    QVCPlatformConfiguration unreadable;
    unreadable.caBundlePath = tlsFile("missing.pem");
    EXPECT_THAT(describe(askOk(unreadable, server)), HasSubstr("could not be read from " + tlsFile("missing.pem")));
    EXPECT_EQ(server.requests, 0);

    QVCPlatformConfiguration unverified;
    unverified.verifyPeer = false;
    EXPECT_FALSE(askOk(unverified, server).error());
    EXPECT_EQ(server.requests, 1);
}

TEST(HTTPSTransport, TrustsTheConfiguredCertificateAuthority) {
    TLSServer server("localhost");
    QVCPlatformConfiguration configuration;
    configuration.caBundlePath = tlsFile("ca.pem");
    for (const char* host : {"127.0.0.1", "localhost"}) {
        QVCResponse response = askOk(configuration, server, host);
        EXPECT_FALSE(response.error()) << host << ": " << describe(response);
        EXPECT_EQ(response.body(), std::optional<QVCJSON>(QVCJSON{{"a", 1}})) << host;
    }
    ScopedEnvironment bundle("QVCONSUMER_CA_BUNDLE", tlsFile("ca.pem"));
    QVCResponse fromEnvironment = askOk(QVCPlatformConfiguration::fromEnvironment(), server);
    EXPECT_FALSE(fromEnvironment.error()) << describe(fromEnvironment);
    EXPECT_EQ(server.requests, 3);
}

TEST(HTTPSTransport, ChecksTheHostNameUnlessTurnedOff) {
    TLSServer server("other");
    QVCPlatformConfiguration configuration;
    configuration.caBundlePath = tlsFile("ca.pem");
    QVCResponse mismatch = askOk(configuration, server);
    EXPECT_EQ(kindOf(mismatch), Kind::Transport);
    EXPECT_THAT(describe(mismatch), HasSubstr("could not be verified"));
    EXPECT_THAT(describe(mismatch), HasSubstr("127.0.0.1"));
    EXPECT_EQ(server.requests, 0);

    configuration.verifyHost = false;
    QVCResponse unchecked = askOk(configuration, server);
    EXPECT_FALSE(unchecked.error()) << describe(unchecked);
    EXPECT_EQ(server.requests, 1);
}

}  // namespace
