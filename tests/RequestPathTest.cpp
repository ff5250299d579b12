// Caller text inserted into a request path never changes the request's
// endpoint: both transports encode it or refuse the request before sending.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <mutex>

#include "ClosingServer.h"
#include "TransportTestSupport.h"
#include "platform/QVCHTTPWebServiceHandler.h"
#include "platform/QVCSimulationWebServiceHandler.h"

namespace {

using namespace std::chrono_literals;

/// Hands the library's requests to a transport and collects the transport's answers.
struct Tap : QVCWebServiceHandler {
    explicit Tap(std::shared_ptr<QVCWebServiceHandler> given) : transport(std::move(given)) {}
    void requestWithPath(const std::string& path, std::int64_t method, const std::string& context,
                         const std::optional<QVCHeaders>& headers, const std::optional<QVCJSON>& body,
                         std::int64_t type, const std::optional<std::string>& file, QVCResponseCompletion) override {
        transport->requestWithPath(path, method, context, headers, body, type, file, answers.completion());
    }
    std::shared_ptr<QVCWebServiceHandler> transport;
    AnswerCollector answers;
};

/// The operation that inserts each kind of caller text (the consumer id is the manager's).
const std::map<std::string, std::function<void(QVConsumerManager&, const std::string&)>> operations = {
    {"user name", [](auto& m, auto& text) { m.authenticateConsumerWithUserName(text, [](auto...) {}); }},
    {"offer code", [](auto& m, auto& text) { m.getOfferWithOfferCode(text, [](auto...) {}); }},
    {"offer id", [](auto& m, auto& text) { m.getOfferDetailsWithOfferID(QVCJSON(text), [](auto...) {}); }},
    {"consumer id", [](auto& m, auto&) { m.getAllOffersWithCompletionHandler([](auto...) {}); }},
};

struct Case {
    std::string value, text;
    std::string expected;  // the path the server receives, or a part of the refusal
};

const Case cases[] = {
    {"user name", "../../admin?x=1#frag", "the user name holds \"/\""},
    {"user name", "..", "the user name is the dot segment \"..\""},
    {"user name", "", "the user name is empty"},
    {"user name", "jdoe?all=1", "the user name holds \"?\""},
    {"user name", "jdoe#x", "the user name holds \"#\""},
    {"user name", "evil\r\nX-Injected: 1", "/lqsapi/consumers/v1/consumer/evil%0D%0AX-Injected:%201/authenticate"},
    {"user name", "%2e%2e", "/lqsapi/consumers/v1/consumer/%252e%252e/authenticate"},
    {"user name", "..;\\x@y", "/lqsapi/consumers/v1/consumer/..%3B%5Cx@y/authenticate"},
    {"offer code", "SAVE10&facilityId=1", "the offer code holds \"&\" (a second query key)"},
    {"offer code", "SAVE10?x", "the offer code holds \"?\""},
    {"offer code", "SAVE10#x", "the offer code holds \"#\""},
    {"offer code", "A B%20C", "/lqsapi/consumers/v1/consumers/1001/offers?offerCode=AB%2520C"},
    {"offer code", "a=b+c/../d;e", "/lqsapi/consumers/v1/consumers/1001/offers?offerCode=a%3Db%2Bc/../d%3Be"},
    {"offer id", "9/redeems", "the offer id holds \"/\""},
    {"offer id", ".", "the offer id is the dot segment \".\""},
    {"offer id", "9?offerCode=X", "the offer id holds \"?\""},
    {"offer id", "\xc3\xbc", "/lqsapi/consumers/v1/consumers/1001/offers/%C3%BC"},
    {"consumer id", "5/../../x", "the consumer id holds \"/\""},
    {"consumer id", "..", "the consumer id is the dot segment"},
    {"consumer id", "5?facilityId=9", "the consumer id holds \"?\""},
    {"consumer id", "1 0", "/lqsapi/consumers/v1/consumers/1%200/offers?facilityId=0"},
};

/// The one answer transport gives to the request of c.
QVCResponse answerTo(const Case& c, std::shared_ptr<QVCWebServiceHandler> transport) {
    auto tap = std::make_shared<Tap>(std::move(transport));
    auto manager = makeSimulationManager(c.value == "consumer id" ? c.text : "1001");
    manager->setWebServiceHandler(tap);
    operations.at(c.value)(*manager, c.text);
    QVCResponse answer = tap->answers.single();
    EXPECT_FALSE(tap->answers.waitFor(2, 20ms)) << "a second answer came";
    return answer;
}

TEST(RequestPaths, CallerTextIsEncodedOrTheRequestRefusedBeforeAnythingIsSent) {
    std::mutex mutex;
    std::vector<std::string> received;
    ClosingServer server([&](const std::string& path) {
        std::lock_guard<std::mutex> lock(mutex);
        received.push_back(path);
        return std::string("[]");
    });
    QVCPlatformConfiguration configuration;
    configuration.serviceRootURL = server.root();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value + " \"" + c.text + "\"");
        const QVCResponse live = answerTo(c, std::make_shared<QVCHTTPWebServiceHandler>(configuration, "app", "key"));
        const QVCResponse offline = answerTo(c, std::make_shared<QVCSimulationWebServiceHandler>());
        std::lock_guard<std::mutex> lock(mutex);
        if (c.expected[0] == '/') {
            EXPECT_EQ(received, std::vector<std::string>{c.expected});
            EXPECT_FALSE(offline.error() && offline.error()->kind() == QVCErrorResponse::Kind::PathRefused);
        } else {
            EXPECT_TRUE(received.empty());
            EXPECT_EQ(kindOf(live), QVCErrorResponse::Kind::PathRefused);
            EXPECT_THAT(describe(live), HasSubstr(c.expected));
            EXPECT_EQ(describe(offline), describe(live)) << "offline and live refuse alike";
            EXPECT_TRUE(c.text.size() < 3 || describe(live).find(c.text) == std::string::npos) << describe(live);
        }
        received.clear();
    }
}

}  // namespace
