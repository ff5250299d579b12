#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

#include "TransportTestSupport.h"
#include "platform/QVCJSONParser.h"
#include "platform/QVCSimulationFile.h"
#include "platform/QVCSimulationWebServiceHandler.h"

namespace {

std::shared_ptr<QVCSimulationFile> fileWith(const std::vector<QVCJSON>& entries) {
    return QVCSimulationFile::fromDocument({{"entries", QVCJSON(entries)}}, "test");
}

QVCJSON entry(const std::string& method, const std::string& path, const QVCJSON& body) {
    return {{"method", method}, {"path", path}, {"answer", {{"body", body}}}};
}

std::string documentOf(const std::vector<QVCJSON>& entries) {
    return QVCJSON{{"entries", QVCJSON(entries)}}.dump();
}

/// Writes text to a file in a fresh temporary folder; removed at the end.
class SimulationFileOnDisk {
public:
    explicit SimulationFileOnDisk(const std::string& text) { rewrite(text); }
    void rewrite(const std::string& text) { std::ofstream(path()) << text; }
    std::string path() const { return (folder_.path() / "simulation.json").string(); }

private:
    TemporaryFolder folder_;
};

std::string loaderMessage(const QVCJSON& document) {
    return messageOf<QVCSimulationFile::Invalid>([&] { QVCSimulationFile::fromDocument(document, "test"); });
}

TEST(JSONParser, KeepsKindsOfEveryValue) {
    auto parsed = QVCJSONParser::parse(std::string(
        R"({"text":"a\u00e9","int":-7,"big":18446744073709551615,"real":2.5,"yes":true,"none":null,"list":[1,{"k":[]}],"k":1,"k":2})"));
    ASSERT_TRUE(parsed.value) << parsed.error;
    const QVCJSON& value = *parsed.value;
    EXPECT_EQ(value["text"], "a\xc3\xa9");
    EXPECT_TRUE(value["int"].is_number_integer());
    EXPECT_EQ(value["int"], -7);
    EXPECT_EQ(value["big"].get<std::uint64_t>(), 18446744073709551615ull);
    EXPECT_TRUE(value["real"].is_number_float());
    EXPECT_TRUE(value["yes"].is_boolean());
    EXPECT_TRUE(value.contains("none") && value["none"].is_null());
    EXPECT_TRUE(value["list"][1]["k"].is_array());
    EXPECT_EQ(value["k"], 2) << "a repeated key keeps its last value";
}

TEST(SimulationMatching, PlaceholdersStandForOneSegmentAndLiteralsMustBeEqual) {
    auto file = fileWith({entry("GET", "lqsapi/consumers/v1/consumer/{consumerId}/balance/loyalty", 1)});
    EXPECT_EQ(file->match("GET", "lqsapi/consumers/v1/consumer/1234/balance/loyalty"), 0u);
    EXPECT_EQ(file->match("GET", "lqsapi/consumers/v1/consumer//balance/loyalty"), 0u);
    EXPECT_FALSE(file->match("POST", "lqsapi/consumers/v1/consumer/1234/balance/loyalty"));
    EXPECT_FALSE(file->match("GET", "lqsapi/consumers/v1/consumer/1234/loyalty/balance"));
    EXPECT_FALSE(file->match("GET", "lqsapi/consumers/v1/consumer/12/34/balance/loyalty"));
    EXPECT_FALSE(file->match("GET", "lqsapi/consumers/v1/consumer/1234/balance"));
}

TEST(SimulationMatching, QueryParametersMustBePresentWithTheirLiteralValues) {
    auto file =
        fileWith({entry("GET", "offers?facilityId={facilityId}", 0), entry("GET", "offers?offerCode=SAVE10", 1)});
    EXPECT_EQ(file->match("GET", "offers?facilityId=7"), 0u);
    EXPECT_EQ(file->match("GET", "offers?offerCode=SAVE10"), 1u);
    EXPECT_EQ(file->match("GET", "offers?x=1&offerCode=SAVE10"), 1u) << "other parameters do not prevent a match";
    EXPECT_FALSE(file->match("GET", "offers?offerCode=SAVE11"));
    EXPECT_FALSE(file->match("GET", "offers"));
}

TEST(SimulationMatching, MostSpecificWinsThenFirstInFile) {
    auto file = fileWith({
        entry("GET", "c/{id}/offers/{offer}", "any"),            // 0
        entry("GET", "c/{id}/offers/7", "seven"),                // 1: more literal segments
        entry("GET", "c/{user}/offers/7", "seven again"),        // 2: ties with 1, later in file
        entry("GET", "c/{id}/list?code={code}", "any code"),     // 3
        entry("GET", "c/{id}/list?code=A", "code A"),            // 4: literal query value
        entry("GET", "c/{id}/list", "no query"),                 // 5: fewer query parameters
        entry("GET", "c/{id}/list?code={c}&page={p}", "paged"),  // 6: more query parameters
    });
    EXPECT_EQ(file->match("GET", "c/1/offers/8"), 0u);
    EXPECT_EQ(file->match("GET", "c/1/offers/7"), 1u);
    EXPECT_EQ(file->match("GET", "c/1/list?code=B"), 3u);
    EXPECT_EQ(file->match("GET", "c/1/list?code=A"), 4u);
    EXPECT_EQ(file->match("GET", "c/1/list?page=2"), 5u);
    EXPECT_EQ(file->match("GET", "c/1/list?code=B&page=2"), 6u);
    EXPECT_EQ(file->match("GET", "c/1/list?code=A&page=2"), 4u) << "a literal value outweighs more parameters";
}

TEST(SimulationAnswers, GiveStatusHeadersBodyAndAnErrorForFailureStatuses) {
    auto file = fileWith({
        {{"method", "POST"},
         {"path", "o/{id}/redeems"},
         {"answer", {{"status", 201}, {"headers", {{"Location", "r/1"}}}, {"body", {{"ok", true}}}}}},
        {{"method", "GET"}, {"path", "u/{name}"}, {"answer", {{"status", 404}, {"body", {{"httpResponseCode", 404}}}}}},
        {{"method", "GET"}, {"path", "empty"}, {"answer", QVCJSON::object()}},
    });
    QVCResponse created = file->answer("POST", "o/9/redeems");
    EXPECT_FALSE(created.error());
    EXPECT_EQ(created.headerValue("location"), std::optional<std::string>("r/1"));
    EXPECT_EQ(*created.body(), (QVCJSON{{"ok", true}}));

    QVCResponse missing = file->answer("GET", "u/nobody");
    EXPECT_EQ(kindOf(missing), QVCErrorResponse::Kind::HTTPStatus);
    EXPECT_EQ(missing.error()->httpStatus(), 404);
    ASSERT_TRUE(missing.body());
    EXPECT_EQ((*missing.body())["httpResponseCode"], 404) << "the body stays readable beside the error";

    QVCResponse bare = file->answer("GET", "empty");
    EXPECT_FALSE(bare.error());
    EXPECT_FALSE(bare.body());

    QVCResponse unknown = file->answer("GET", "nothing/here?x=1");
    EXPECT_EQ(kindOf(unknown), QVCErrorResponse::Kind::General);
    EXPECT_THAT(describe(unknown), HasSubstr("GET nothing/here?x=1"));
}

TEST(SimulationAnswers, SequencesRepeatTheLastOrCycle) {
    QVCJSON answers = QVCJSON::array({{{"body", 1}}, {{"body", 2}}});
    auto file = fileWith({{{"method", "GET"}, {"path", "repeat"}, {"answers", answers}},
                          {{"method", "GET"}, {"path", "cycle"}, {"answers", answers}, {"afterLast", "cycle"}}});
    std::vector<int> repeated;
    std::vector<int> cycled;
    for (int i = 0; i < 4; ++i) {
        repeated.push_back(file->answer("GET", "repeat").body()->get<int>());
        cycled.push_back(file->answer("GET", "cycle").body()->get<int>());
    }
    EXPECT_EQ(repeated, (std::vector<int>{1, 2, 2, 2}));
    EXPECT_EQ(cycled, (std::vector<int>{1, 2, 1, 2}));
}

TEST(SimulationLoader, RejectsMalformedFilesNamingEntryAndKey) {
    struct Case {
        QVCJSON document;
        std::string expected;
    };
    const QVCJSON ok = entry("GET", "a", 1);
    auto with = [&](const std::string& key, const QVCJSON& value) {
        QVCJSON changed = ok;
        changed[key] = value;
        return QVCJSON{{"entries", {ok, changed}}};
    };
    auto without = [&](const std::string& key) {
        QVCJSON changed = ok;
        changed.erase(key);
        return QVCJSON{{"entries", {ok, changed}}};
    };
    const std::vector<Case> cases = {
        {QVCJSON::array(), "must be an object whose \"entries\" is an array"},
        {{{"entries", {ok, 3}}}, "entry 1, key \"\": an entry must be an object"},
        {without("method"), "entry 1, key \"method\": is missing"},
        {with("method", "PUT"), "entry 1, key \"method\": must be \"GET\" or \"POST\""},
        {with("path", "/a"), "entry 1, key \"path\": must not start with \"/\""},
        {with("path", "a/x{id}"), "entry 1, key \"path\": segment \"x{id}\""},
        {with("anwser", 1), "entry 1, key \"anwser\": is not a key of an entry"},
        {without("answer"), "entry 1, key \"answer\": an entry needs exactly one"},
        {with("answer", {{"status", 99}}), "entry 1, key \"answer.status\": must be a whole number from 100 to 599"},
        {with("answer", {{"headers", {{"Location", 1}}}}), "entry 1, key \"answer.headers.Location\": must be a text"},
        {with("answer", {{"bdy", 1}}), "entry 1, key \"answer.bdy\": is not a key of an answer"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(loaderMessage(c.document), HasSubstr(c.expected)) << c.document.dump();
    }
    QVCJSON emptyList = {{"entries", {{{"method", "GET"}, {"path", "a"}, {"answers", QVCJSON::array()}}}}};
    EXPECT_THAT(loaderMessage(emptyList), HasSubstr("entry 0, key \"answers\": must be a non-empty array"));
}

TEST(SimulationTransport, AnswersOnItsOwnThreadOneAtATime) {
    SimulationFileOnDisk file(documentOf({entry("GET", "a/{x}", {{"n", 1}}), entry("POST", "b", 2)}));
    AnswerCollector collector;
    {
        QVCSimulationWebServiceHandler handler;
        for (int i = 0; i < 20; ++i) {
            sendGet(handler, "a/" + std::to_string(i), file.path(), collector.completion());
        }
        handler.requestWithPath("b", 1, "consumers", std::nullopt, QVCJSON::object(), 0, file.path(),
                                collector.completion());
        ASSERT_TRUE(collector.waitFor(21));
    }
    auto answers = collector.answers();
    auto threads = collector.threads();
    for (std::size_t i = 0; i < answers.size(); ++i) {
        EXPECT_FALSE(answers[i].error()) << describe(answers[i]);
        EXPECT_EQ(threads[i], threads[0]);
    }
    EXPECT_NE(threads[0], std::this_thread::get_id());
    EXPECT_EQ(*answers.back().body(), 2);
}

TEST(SimulationTransport, ReportsAMissingUnreadableOrInvalidFile) {
    SimulationFileOnDisk broken("{\"entries\": [ {\"method\": \"GET\", ");
    SimulationFileOnDisk invalid(R"({"entries": [{"method": "GET", "path": "a"}]})");
    struct Case {
        std::optional<std::string> path;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {std::nullopt, "GET a: no simulation file was given"},
        {"/nonexistent/QVConsumerSimulate.json",
         "cannot read simulation file \"/nonexistent/QVConsumerSimulate.json\""},
        {broken.path(), "is not JSON"},
        {invalid.path(), "entry 0, key \"answer\""},
    };
    QVCSimulationWebServiceHandler handler;
    for (const auto& c : cases) {
        AnswerCollector collector;
        sendGet(handler, "a", c.path, collector.completion());
        QVCResponse answer = collector.single();
        EXPECT_THAT(describe(answer), HasSubstr(c.expected));
    }
}

TEST(SimulationTransport, LoadsAFileOnceAndReloadsWhenAnotherIsNamed) {
    SimulationFileOnDisk first(documentOf({entry("GET", "a", "first")}));
    SimulationFileOnDisk second(documentOf({entry("GET", "a", "second")}));
    QVCSimulationWebServiceHandler handler;
    auto ask = [&](const std::string& path) {
        AnswerCollector collector;
        sendGet(handler, "a", path, collector.completion());
        auto answer = collector.single();
        return answer.body() ? answer.body()->get<std::string>() : describe(answer);
    };
    EXPECT_EQ(ask(first.path()), "first");
    first.rewrite(documentOf({entry("GET", "a", "changed")}));
    EXPECT_EQ(ask(first.path()), "first") << "the file is read once, not for every request";
    EXPECT_EQ(ask(second.path()), "second");
    EXPECT_EQ(ask(first.path()), "changed");
}

TEST(SimulationTransport, MayBeReleasedFromItsOwnAnswer) {
    // A host that drops its last reference inside a completion must not deadlock the transport.
    SimulationFileOnDisk file(documentOf({entry("GET", "a", 1)}));
    auto handler = std::make_shared<QVCSimulationWebServiceHandler>();
    std::promise<void> released;
    sendGet(*handler, "a", file.path(), [&](const QVCResponse&) {
        handler.reset();
        released.set_value();
    });
    auto done = released.get_future();
    ASSERT_EQ(done.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_FALSE(handler);
}

TEST(SimulationTransport, DestructionCancelsWaitingRequestsOnceEach) {
    SimulationFileOnDisk file(documentOf({entry("GET", "a", 1)}));
    std::mutex gate;
    std::unique_lock<std::mutex> hold(gate);
    AnswerCollector collector;
    std::thread destroyer;
    {
        auto handler = std::make_unique<QVCSimulationWebServiceHandler>();
        // The first answer blocks the handler's thread until the handler is being destroyed.
        sendGet(*handler, "a", file.path(), [&](const QVCResponse&) { std::lock_guard<std::mutex> wait(gate); });
        for (int i = 0; i < 5; ++i) {
            sendGet(*handler, "a", file.path(), collector.completion());
        }
        destroyer = std::thread([h = std::move(handler)]() mutable { h.reset(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hold.unlock();
    }
    destroyer.join();
    auto answers = collector.answers();
    ASSERT_EQ(answers.size(), 5u);
    for (const auto& answer : answers) {
        EXPECT_EQ(kindOf(answer), QVCErrorResponse::Kind::Cancelled);
        EXPECT_THAT(describe(answer), HasSubstr("GET a: cancelled"));
    }
}

}  // namespace
