#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/QVCHTTPOutcome.h"
#include "platform/QVCRetryPolicy.h"

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using Clock = QVCRetryPolicy::Clock;
using Ending = QVCHTTPAttempt::Ending;
using Kind = QVCErrorResponse::Kind;

namespace {

QVCPlatformConfiguration settings() {
    QVCPlatformConfiguration configuration;
    configuration.maxRetries = 3;
    configuration.retryBaseDelayMs = 100;
    configuration.retryMaxDelayMs = 1000;
    configuration.totalTimeoutMs = 2000;
    return configuration;
}

TEST(RetryPolicy, BacksOffExponentiallyWithJitterUpToTheLimitAndStopsWhenRetriesRunOut) {
    QVCRetryPolicy policy(settings(), 7);
    const auto now = Clock::now();
    const auto deadline = policy.deadlineFrom(now);
    EXPECT_EQ(deadline - now, settings().requestBudget());
    // Retry n waits between half and all of min(100 * 2^n, 1000) ms.
    const long full[] = {100, 200, 400};
    for (int retries = 0; retries < 3; ++retries) {
        for (int draw = 0; draw < 20; ++draw) {
            auto due = policy.nextAttempt(retries, deadline, now, 0);
            ASSERT_TRUE(due) << "retry " << retries;
            EXPECT_GE(*due - now, std::chrono::milliseconds(full[retries] / 2));
            EXPECT_LE(*due - now, std::chrono::milliseconds(full[retries]));
        }
    }
    EXPECT_FALSE(policy.nextAttempt(3, deadline, now, 0)) << "maxRetries reached";

    auto many = settings();
    many.maxRetries = 10;
    QVCRetryPolicy capped(many, 7);
    auto due = capped.nextAttempt(9, capped.deadlineFrom(now), now, 0);
    ASSERT_TRUE(due);
    EXPECT_LE(*due - now, 1000ms) << "never beyond retryMaxDelayMs";
}

TEST(RetryPolicy, HonoursRetryAfterOnlyWhenTheWaitAndAnotherAttemptFitTheBudget) {
    QVCRetryPolicy policy(settings(), 7);
    const auto now = Clock::now();
    const auto deadline = now + 10s;
    auto due = policy.nextAttempt(0, deadline, now, 3);
    ASSERT_TRUE(due);
    EXPECT_EQ(*due - now, 3s) << "a Retry-After longer than the back-off wins";
    EXPECT_FALSE(policy.nextAttempt(0, deadline, now, 9)) << "9 s wait + a 2 s attempt outlast the budget";
    EXPECT_FALSE(policy.nextAttempt(0, deadline, now, 10000000000000000)) << "far too large to count in ms";
    EXPECT_FALSE(policy.nextAttempt(0, now + 1s, now, 0)) << "no room left for one more attempt";
}

QVCHTTPAttempt attempt(const std::string& method, Ending ending, bool sent) {
    QVCHTTPAttempt seen;
    seen.method = method;
    seen.path = "lqsapi/x";
    seen.ending = ending;
    seen.mayHaveBeenSent = sent;
    seen.detail = "detail";
    return seen;
}

TEST(HTTPOutcome, ASendThatMayHaveReachedTheServiceIsNeverTriedAgain) {
    for (Ending ending : {Ending::TimedOut, Ending::ConnectionLost}) {
        auto post = QVCHTTPOutcome::of(attempt("POST", ending, true), settings());
        EXPECT_FALSE(post.mayPass);
        ASSERT_TRUE(post.response.error());
        EXPECT_EQ(post.response.error()->kind(), Kind::OutcomeUnknown);
        EXPECT_THAT(post.response.error()->description(), HasSubstr("check before sending it again"));
        EXPECT_TRUE(QVCHTTPOutcome::of(attempt("POST", ending, false), settings()).mayPass)
            << "it never left the client";
        EXPECT_TRUE(QVCHTTPOutcome::of(attempt("GET", ending, true), settings()).mayPass);
    }
    auto refused = attempt("POST", Ending::CouldNotConnect, false);
    refused.refused = true;
    auto outcome = QVCHTTPOutcome::of(refused, settings());
    EXPECT_TRUE(outcome.mayPass);
    EXPECT_THAT(outcome.response.error()->description(), HasSubstr("POST lqsapi/x: connection refused"));
    EXPECT_FALSE(QVCHTTPOutcome::of(attempt("GET", Ending::PeerNotVerified, true), settings()).mayPass);
}

TEST(HTTPOutcome, StatusesAndBodiesBecomeAnswersOrErrorsOfTheirKind) {
    auto answer = [](const std::string& method, long status, std::string text) {
        auto seen = attempt(method, Ending::Answered, true);
        seen.status = status;
        seen.received = std::move(text);
        return QVCHTTPOutcome::of(std::move(seen), settings());
    };
    auto ok = answer("GET", 200, R"({"a":1})");
    EXPECT_EQ(ok.response.error(), nullptr);
    EXPECT_EQ(ok.response.bodyJSON(), std::optional<QVCJSON>(QVCJSON{{"a", 1}}));
    auto notJSON = answer("GET", 200, "<html>");
    EXPECT_EQ(notJSON.response.error()->kind(), Kind::Transport);
    EXPECT_THAT(notJSON.response.error()->description(), HasSubstr("answer is not JSON"));
    auto busy = answer("GET", 503, R"({"message":"try\nlater"})");
    EXPECT_TRUE(busy.mayPass);
    EXPECT_EQ(busy.response.error()->kind(), Kind::HTTPStatus);
    EXPECT_THAT(busy.response.error()->description(), HasSubstr("status 503: try later"));
    EXPECT_FALSE(answer("POST", 503, "{}").mayPass) << "a send that reached the service is not repeated";
    EXPECT_FALSE(answer("GET", 404, "").mayPass);
}

}  // namespace
