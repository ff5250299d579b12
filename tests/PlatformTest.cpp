#include "TestSupport.h"
#include "testkit/QVCScriptedWebServiceHandler.h"

namespace {

TEST(Response, TestsKeysOnlyOfObjectBodiesAndHeadersPresent) {
    QVCResponse object(QVCJSON{{"httpResponseCode", 404}, {"empty", nullptr}}, {{"Location", "/r/9"}}, nullptr);
    EXPECT_TRUE(object.containsValueForKey("empty"));
    EXPECT_FALSE(object.containsValueForKey("consumers"));
    EXPECT_FALSE(object.headerValue("etag"));
    EXPECT_FALSE(QVCResponse(QVCJSON::array({1}), {}, nullptr).containsValueForKey("0"));
    EXPECT_FALSE(QVCResponse().containsValueForKey("x"));
}

TEST(ScriptedHandler, AnswersInOrderAndNamesAnUnscriptedRequest) {
    QVCScriptedWebServiceHandler handler(QVCScriptedWebServiceHandler::Delivery::Deferred);
    handler.answerWithBody("first");
    std::vector<std::string> answers;
    auto remember = [&](const QVCResponse& response) {
        answers.push_back(response.error() ? response.error()->description() : response.bodyJSON()->get<std::string>());
    };
    handler.requestWithPath("a", 0, "consumers", std::nullopt, std::nullopt, 0, std::nullopt, remember);
    handler.requestWithPath("lqsapi/x", 1, "consumers", std::nullopt, std::nullopt, 0, std::nullopt, remember);
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(handler.releaseAll(), 2U);
    EXPECT_EQ(answers, (std::vector<std::string>{"first", "no scripted answer for request 1 \"lqsapi/x\""}));
}

}  // namespace
