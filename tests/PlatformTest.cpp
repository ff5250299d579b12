#include <gtest/gtest.h>

#include <stdexcept>

#include "TestSupport.h"
#include "platform/QVCScriptedWebServiceHandler.h"
#include "platform/QVCUtility.h"

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
    EXPECT_EQ(handled, 1);
    EXPECT_FALSE(finished);

    QVCUtility::safetyCheck([] {}, [&](std::exception_ptr) { ++handled; });
    EXPECT_EQ(handled, 1);
}

TEST(NonNullValue, TurnsMissingAndNullIntoTheJsonNull) {
    const QVCJSON document = {{"present", "x"}, {"null", nullptr}};
    EXPECT_EQ(QVCUtility::getNonNullValue(&document.at("present")), "x");
    EXPECT_TRUE(QVCUtility::getNonNullValue(&document.at("null")).is_null());
    EXPECT_TRUE(QVCUtility::getNonNullValue(nullptr).is_null());
    QVCJSON body = QVCJSON::object();
    body["kept"] = QVCUtility::getNonNullValue(nullptr);
    EXPECT_TRUE(body.contains("kept"));
}

TEST(Response, AnswersKeyTestsOnlyForObjectBodies) {
    QVCResponse object(QVCJSON{{"httpResponseCode", 404}, {"empty", nullptr}}, {}, nullptr);
    EXPECT_TRUE(object.containsValueForKey("httpResponseCode"));
    EXPECT_TRUE(object.containsValueForKey("empty"));
    EXPECT_FALSE(object.containsValueForKey("consumers"));
    EXPECT_EQ(*object.objectForKey("httpResponseCode"), 404);

    QVCResponse array(QVCJSON::array({1}), {}, nullptr);
    EXPECT_FALSE(array.containsValueForKey("httpResponseCode"));
    EXPECT_EQ(array.objectForKey("0"), nullptr);
    QVCResponse none;
    EXPECT_FALSE(none.containsValueForKey("x"));
}

TEST(Response, LooksHeadersUpWithoutRegardToCase) {
    QVCResponse response(std::nullopt, {{"Location", "/redeems/9"}}, nullptr);
    EXPECT_EQ(response.headerValue("location"), std::optional<std::string>("/redeems/9"));
    EXPECT_EQ(response.headerValue("LOCATION"), std::optional<std::string>("/redeems/9"));
    EXPECT_FALSE(response.headerValue("etag"));
}

TEST(ErrorResponse, KeepsMessagesKindAndStatus) {
    auto plain = QVCErrorResponse::initWithErrorMessages({"404"});
    EXPECT_EQ(plain->errorMessages(), std::vector<std::string>{"404"});
    EXPECT_EQ(plain->kind(), QVCErrorResponse::Kind::General);
    EXPECT_FALSE(plain->httpStatus());
    EXPECT_EQ(plain->description(), "404");

    auto status = QVCErrorResponse::initWithErrorMessages({"not found", "no such offer"},
                                                          QVCErrorResponse::Kind::HTTPStatus, 404);
    EXPECT_EQ(status->description(), "HTTP 404: not found; no such offer");
    EXPECT_STREQ(QVCErrorKindName(status->kind()), "http-status");
}

TEST(ScriptedHandler, DeferredAnswersWaitAndComeOldestFirst) {
    QVCScriptedWebServiceHandler handler(QVCScriptedWebServiceHandler::Delivery::Deferred);
    handler.answerWithBody("first");
    handler.answerWithBody("second");
    std::vector<std::string> answers;
    auto remember = [&](const QVCResponse& response) { answers.push_back(response.body()->get<std::string>()); };
    handler.requestWithPath("a", 0, "consumers", std::nullopt, std::nullopt, 0, std::nullopt, remember);
    handler.requestWithPath("b", 1, "consumers", QVCHeaders{{"X", "1"}}, QVCJSON{{"k", 1}}, 0, "/sim.json", remember);
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(handler.pendingCount(), 2U);

    EXPECT_TRUE(handler.releaseNext());
    EXPECT_EQ(answers, std::vector<std::string>{"first"});
    EXPECT_EQ(handler.releaseAll(), 1U);
    EXPECT_EQ(answers, (std::vector<std::string>{"first", "second"}));
    EXPECT_FALSE(handler.releaseNext());

    const auto second = handler.requests().at(1);
    EXPECT_EQ(second.path, "b");
    EXPECT_EQ(second.httpMethod, 1);
    EXPECT_EQ(second.headers->at("x"), "1");
    EXPECT_EQ(*second.body, (QVCJSON{{"k", 1}}));
    EXPECT_EQ(second.simulateFilePath, std::optional<std::string>("/sim.json"));
}

TEST(ScriptedHandler, AnUnscriptedRequestGetsAnErrorNamingIt) {
    QVCScriptedWebServiceHandler handler;
    std::shared_ptr<QVCErrorResponse> error;
    handler.requestWithPath("lqsapi/x", 0, "consumers", std::nullopt, std::nullopt, 0, std::nullopt,
                            [&](const QVCResponse& response) { error = response.error(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description(), "no scripted answer for request 0 \"lqsapi/x\"");
    EXPECT_THROW(QVCScriptedWebServiceHandler().lastRequest(), std::out_of_range);
}

}  // namespace
