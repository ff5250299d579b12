#include <gtest/gtest.h>

#include <stdexcept>

#include "TestSupport.h"
#include "platform/QVCUtility.h"
#include "testkit/QVCScriptedWebServiceHandler.h"

namespace {

TEST(SafetyCheck, StopsTheBodyAndHandsTheExceptionOverOnce) {
    int handled = 0;
    bool finished = false;
    QVCUtility::safetyCheck(
        [&] {
            throw std::runtime_error("boom");
            finished = true;  // NOLINT: never reached
        },
        [&](std::exception_ptr exception) {
            ++handled;
            EXPECT_EQ(exceptionMessage<std::runtime_error>(exception), "boom");
        });
    QVCUtility::safetyCheck([] {}, [&](std::exception_ptr) { ++handled; });
    EXPECT_EQ(handled, 1);
    EXPECT_FALSE(finished);
}

TEST(Response, TestsKeysOnlyOfObjectBodiesAndHeadersWithoutRegardToCase) {
    QVCResponse object(QVCJSON{{"httpResponseCode", 404}, {"empty", nullptr}}, {{"Location", "/r/9"}}, nullptr);
    EXPECT_TRUE(object.containsValueForKey("empty"));
    EXPECT_FALSE(object.containsValueForKey("consumers"));
    EXPECT_EQ(std::int64_t(*object.objectForKey("httpResponseCode")), 404);
    EXPECT_EQ(object.headerValue("LOCATION"), std::optional<std::string>("/r/9"));
    EXPECT_FALSE(object.headerValue("etag"));
    EXPECT_FALSE(QVCResponse(QVCJSON::array({1}), {}, nullptr).containsValueForKey("0"));
    EXPECT_FALSE(QVCResponse().containsValueForKey("x"));
}

TEST(ErrorResponse, DescribesMessagesWithTheStatusWhenKnown) {
    EXPECT_EQ(QVCErrorResponse::initWithErrorMessages({"404"})->description(), "404");
    auto status = QVCErrorResponse::initWithErrorMessages({"not found", "no such offer"},
                                                          QVCErrorResponse::Kind::HTTPStatus, 404);
    EXPECT_EQ(status->description(), "HTTP 404: not found; no such offer");
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
