#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "TransportTestSupport.h"
#include "platform/QVCHTTPWebServiceHandler.h"

namespace {

using namespace std::chrono_literals;

/// A file of tests/data/tls (see README.txt there).
std::string tlsFile(const std::string& name) {
    return (std::filesystem::path(__FILE__).parent_path() / "data" / "tls" / name).string();
}

/// An HTTPS server on a loopback port chosen at run time with the certificate
/// tests/data/tls/<name>.pem, answering {"a":1} to the master data request.
class TLSServer : public httplib::SSLServer {
public:
    explicit TLSServer(const std::string& name)
        : httplib::SSLServer(tlsFile(name + ".pem").c_str(), tlsFile(name + ".key").c_str()) {
        Get("/lqsapi/consumers/v1/data", [](const httplib::Request&, httplib::Response& response) {
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

private:
    std::thread thread_;
};

TEST(HTTPSTransport, VerifiesTheCertificateAndTheHostNameUnlessTurnedOff) {
    TLSServer localhost("localhost"), other("other");
    struct Case {
        const TLSServer& server;
        std::optional<std::string> caBundle;
        bool verifyPeer, verifyHost;
        std::string host, expectedError;  // empty: the answer arrives
    };
    const std::string ca = tlsFile("ca.pem"), missing = tlsFile("missing.pem");
    const Case cases[] = {
        {localhost, std::nullopt, true, true, "127.0.0.1",
         "GET lqsapi/consumers/v1/data: the service's certificate could not be verified"},
        {localhost, missing, true, true, "127.0.0.1", "could not be read from " + missing},
        {localhost, std::nullopt, false, true, "127.0.0.1", ""},
        {localhost, ca, true, true, "127.0.0.1", ""},
        {localhost, ca, true, true, "localhost", ""},
        {other, ca, true, true, "127.0.0.1", "127.0.0.1"},
        {other, ca, true, false, "127.0.0.1", ""},
    };
    for (const auto& c : cases) {
        QVCPlatformConfiguration configuration;
        configuration.serviceRootURL = "https://" + c.host + ":" + std::to_string(c.server.port) + "/";
        configuration.maxRetries = 0;
        configuration.caBundlePath = c.caBundle;
        configuration.verifyPeer = c.verifyPeer;
        configuration.verifyHost = c.verifyHost;
        QVCHTTPWebServiceHandler transport(configuration, "app-7", "secret-key-42");
        AnswerCollector collector;
        sendGet(transport, "lqsapi/consumers/v1/data", std::nullopt, collector.completion());
        QVCResponse response = collector.single();
        SCOPED_TRACE(configuration.serviceRootURL + " trusting " + c.caBundle.value_or("the system"));
        if (c.expectedError.empty()) {
            EXPECT_EQ(response.bodyJSON(), std::optional<QVCJSON>(QVCJSON{{"a", 1}})) << describe(response);
        } else {
            EXPECT_EQ(kindOf(response), QVCErrorResponse::Kind::Transport);
            EXPECT_THAT(describe(response), HasSubstr(c.expectedError));
            EXPECT_THAT(describe(response), HasSubstr("QVCONSUMER_CA_BUNDLE")) << "says how to trust it";
        }
    }
}

}  // namespace
