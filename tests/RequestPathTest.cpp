// Both transports encode caller text inserted into a path, or refuse the request before sending it.

#include <map>
#include <mutex>
#include <tuple>

#include "ClosingServer.h"
#include "TransportTestSupport.h"
#include "platform/QVCHTTPWebServiceHandler.h"
#include "platform/QVCSimulationWebServiceHandler.h"
#include "testkit/QVCScriptedWebServiceHandler.h"

namespace {

/// The request that inserts each kind of caller text (the consumer id is the manager's).
const std::map<std::string, std::function<void(QVConsumerManager&, const std::string&)>> operations = {
    {"user name", [](auto& m, auto& text) { m.authenticateConsumerWithUserName(text, [](auto...) {}); }},
    {"offer code", [](auto& m, auto& text) { m.getOfferWithOfferCode(text, [](auto...) {}); }},
    {"offer id", [](auto& m, auto& text) { m.getOfferDetailsWithOfferID(QVCJSON(text), [](auto...) {}); }},
    {"consumer id", [](auto& m, auto&) { m.getAllOffersWithCompletionHandler([](auto...) {}); }},
};

/// The value a caller's text is inserted as, the text, and the path the server receives or a part of the refusal.
const std::tuple<std::string, std::string, std::string> cases[] = {
    {"user name", "../../admin?x=1#frag", "the user name holds \"/\""},
    {"user name", "", "the user name is empty"},
    {"user name", "evil\r\nX-Injected: 1", "/lqsapi/consumers/v1/consumer/evil%0D%0AX-Injected:%201/authenticate"},
    {"user name", "..;\\%2e@y", "/lqsapi/consumers/v1/consumer/..%3B%5C%252e@y/authenticate"},
    {"offer code", "SAVE10&facilityId=1", "the offer code holds \"&\" (a second query key)"},
    {"offer code", "SAVE10#x", "the offer code holds \"#\""},
    {"offer code", "A B%20C", "/lqsapi/consumers/v1/consumers/1001/offers?offerCode=AB%2520C"},
    {"offer code", "a=b+c/../d;e", "/lqsapi/consumers/v1/consumers/1001/offers?offerCode=a%3Db%2Bc/../d%3Be"},
    {"offer id", "9?offerCode=X", "the offer id holds \"?\""},
    {"offer id", ".", "the offer id is the dot segment \".\""},
    {"offer id", "\xc3\xbc", "/lqsapi/consumers/v1/consumers/1001/offers/%C3%BC"},
    {"consumer id", "5/../../x", "the consumer id holds \"/\""},
    {"consumer id", "1 0", "/lqsapi/consumers/v1/consumers/1%200/offers?facilityId=7"},
};

/// The one answer transport gives to a GET of path.
QVCResponse answerTo(QVCWebServiceHandler& transport, const std::string& path) {
    AnswerCollector answers;
    sendGet(transport, path, std::nullopt, answers.completion());
    EXPECT_FALSE(answers.waitFor(2, std::chrono::milliseconds(20))) << "the completion is called once";
    return answers.single();
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
    QVCHTTPWebServiceHandler live(configuration, "app", "key");
    QVCSimulationWebServiceHandler offline;
    for (const auto& [value, text, expected] : cases) {
        SCOPED_TRACE(value + " \"" + text + "\"");
        auto scripted = std::make_shared<QVCScriptedWebServiceHandler>();  // sees the library's path
        operations.at(value)(*makeManager(scripted, value == "consumer id" ? text : "1001"), text);
        const std::string path = scripted->lastRequest().path;
        const QVCResponse sent = answerTo(live, path), simulated = answerTo(offline, path);
        std::lock_guard<std::mutex> lock(mutex);
        if (expected[0] == '/') {
            EXPECT_EQ(received, std::vector<std::string>{expected});
            EXPECT_FALSE(simulated.error() && simulated.error()->kind() == QVCErrorResponse::Kind::PathRefused);
        } else {
            EXPECT_TRUE(received.empty());
            EXPECT_EQ(kindOf(sent), QVCErrorResponse::Kind::PathRefused);
            EXPECT_THAT(describe(sent), HasSubstr(expected));
            EXPECT_EQ(describe(simulated), describe(sent)) << "offline and live refuse alike";
            EXPECT_EQ(describe(sent).find(path), std::string::npos) << "the path is not repeated";
        }
        received.clear();
    }
}

}  // namespace
