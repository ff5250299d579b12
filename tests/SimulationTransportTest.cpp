#include <algorithm>
#include <fstream>
#include <future>
#include <memory>

#include "QVConsumer/QVCOffer.h"
#include "TransportTestSupport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCSimulationFile.h"
#include "platform/QVCSimulationWebServiceHandler.h"

namespace {

QVCJSON entry(const std::string& method, const std::string& path, const QVCJSON& body) {
    return {{"method", method}, {"path", path}, {"answer", {{"body", body}}}};
}

std::string documentOf(const std::vector<QVCJSON>& entries) {
    return QVCJSON{{"entries", QVCJSON(entries)}}.dump();
}

std::shared_ptr<QVCSimulationFile> fileWith(const std::vector<QVCJSON>& entries) {
    return QVCSimulationFile::fromDocument({{"entries", QVCJSON(entries)}}, "test");
}

/// Writes text to a file in a fresh temporary folder; removed at the end.
struct SimulationFileOnDisk {
    explicit SimulationFileOnDisk(const std::string& text) { rewrite(text); }
    void rewrite(const std::string& text) const { std::ofstream(path()) << text; }
    std::string path() const { return (folder.path() / "simulation.json").string(); }
    TemporaryFolder folder;
};

/// A request the transports accept: the master data request.
const std::string masterData = "lqsapi/consumers/v1/data";

/// The body text of the one answer to GET masterData, or the error description.
std::string ask(QVCSimulationWebServiceHandler& handler, const std::optional<std::string>& file) {
    AnswerCollector collector;
    sendGet(handler, masterData, file, collector.completion());
    QVCResponse answer = collector.single();
    return answer.bodyJSON() ? answer.bodyJSON()->get<std::string>() : describe(answer);
}

TEST(AnswerDocument, KeepsKindsOfEveryValue) {
    auto parsed = QVCAnswerDocument::parse(
        R"({"text":"a\u00e9","int":-7,"big":18446744073709551615,"real":2.5,"yes":true,"none":null,"list":[1,{"k":[]}],"k":1,"k":2})");
    ASSERT_TRUE(parsed.document) << parsed.error;
    // The dump (ASCII only) shows every kind: a real would print "-7.0", an undecoded escape "a\\u00e9".
    EXPECT_EQ(QVCAnswerDocument::toJSON(parsed.document->root()).dump(-1, ' ', true),
              R"({"big":18446744073709551615,"int":-7,"k":2,"list":[1,{"k":[]}],)"
              R"("none":null,"real":2.5,"text":"a\u00e9","yes":true})")
        << "a repeated key keeps its last value";
    EXPECT_EQ(std::int64_t(*QVCAnswerDocument::find(parsed.document->root(), "k")), 2) << "when read too";
    EXPECT_FALSE(QVCAnswerDocument::parse("{\"a\": ").document);
    // A kept text is read up to its end only: what follows the view is not part of it.
    const std::string kept = R"([1,2]garbage)";
    const auto copied = QVCAnswerDocument::parseCopyOf(std::string_view(kept).substr(0, 5));
    ASSERT_TRUE(copied.document) << copied.error;
    EXPECT_EQ(simdjson::dom::array(copied.document->root()).size(), 2U);
}

TEST(SimulationFile, PlaceholdersStandForOneSegmentAndQueryLiteralsMustBeEqual) {
    auto file = fileWith({entry("GET", "c/{id}/balance/loyalty", 0), entry("GET", "offers?facilityId={f}", 1),
                          entry("GET", "offers?offerCode=SAVE10", 2)});
    EXPECT_EQ(file->match("GET", "c/1234/balance/loyalty"), 0u);
    EXPECT_EQ(file->match("GET", "c//balance/loyalty"), 0u);
    EXPECT_EQ(file->match("GET", "offers?facilityId=7"), 1u);
    EXPECT_EQ(file->match("GET", "offers?x=1&offerCode=SAVE10"), 2u) << "other parameters do not prevent a match";
    for (const char* path :
         {"c/1234/loyalty/balance", "c/12/34/balance/loyalty", "c/1234/balance", "offers?offerCode=SAVE11", "offers"}) {
        EXPECT_FALSE(file->match("GET", path)) << path;
    }
    EXPECT_FALSE(file->match("POST", "c/1234/balance/loyalty"));
}

TEST(SimulationFile, MostSpecificWinsThenFirstInFile) {
    auto file = fileWith({entry("GET", "c/{id}/offers/{offer}", 0), entry("GET", "c/{id}/offers/7", 1),
                          entry("GET", "c/{user}/offers/7", 2), entry("GET", "c/{id}/list?code={code}", 3),
                          entry("GET", "c/{id}/list?code=A", 4), entry("GET", "c/{id}/list", 5),
                          entry("GET", "c/{id}/list?code={c}&page={p}", 6)});
    EXPECT_EQ(file->match("GET", "c/1/offers/8"), 0u);
    EXPECT_EQ(file->match("GET", "c/1/offers/7"), 1u) << "more literal segments win; of equals, the first in the file";
    EXPECT_EQ(file->match("GET", "c/1/list?code=B"), 3u) << "more query parameters win";
    EXPECT_EQ(file->match("GET", "c/1/list?code=B&page=2"), 6u);
    EXPECT_EQ(file->match("GET", "c/1/list?code=A&page=2"), 4u) << "a literal value outweighs more parameters";
}

TEST(SimulationFile, AnswersStatusHeadersBodyAndAnErrorForFailureStatuses) {
    QVCJSON post = entry("POST", "o", 1), get = entry("GET", "u", {{"httpResponseCode", 404}});
    post["answer"].update({{"status", 201}, {"headers", {{"Location", "r/1"}}}});
    get["answer"]["status"] = 404;
    auto file = fileWith({post, get});
    QVCResponse created = file->answer("POST", "o");
    EXPECT_FALSE(created.error());
    EXPECT_EQ(created.headerValue("location"), std::optional<std::string>("r/1"));
    EXPECT_EQ(created.bodyJSON(), std::optional<QVCJSON>(1));

    QVCResponse missing = file->answer("GET", "u");
    ASSERT_EQ(kindOf(missing), QVCErrorResponse::Kind::HTTPStatus);
    EXPECT_EQ(missing.error()->httpStatus(), 404);
    EXPECT_EQ(missing.bodyJSON(), std::optional<QVCJSON>(QVCJSON{{"httpResponseCode", 404}}))
        << "readable beside the error";

    QVCResponse unknown = file->answer("GET", "nothing/here?x=1");
    EXPECT_EQ(kindOf(unknown), QVCErrorResponse::Kind::General);
    EXPECT_THAT(describe(unknown), HasSubstr("GET nothing/here?x=1"));
}

TEST(SimulationFile, AnswerSequencesRepeatTheLastOrCycle) {
    QVCJSON answers = QVCJSON::array({{{"body", 1}}, {{"body", 2}}});
    auto file = fileWith({{{"method", "GET"}, {"path", "repeat"}, {"answers", answers}},
                          {{"method", "GET"}, {"path", "cycle"}, {"answers", answers}, {"afterLast", "cycle"}}});
    std::vector<int> repeated, cycled;
    for (int i = 0; i < 4; ++i) {
        repeated.push_back(file->answer("GET", "repeat").bodyJSON()->get<int>());
        cycled.push_back(file->answer("GET", "cycle").bodyJSON()->get<int>());
    }
    EXPECT_EQ(repeated, (std::vector<int>{1, 2, 2, 2}));
    EXPECT_EQ(cycled, (std::vector<int>{1, 2, 1, 2}));
}

TEST(SimulationFile, LoaderRejectsMalformedFilesNamingEntryAndKey) {
    const QVCJSON ok = entry("GET", masterData, 1);
    auto with = [&](const std::string& key, const QVCJSON& value) {
        QVCJSON changed = ok;
        value.is_null() ? void(changed.erase(key)) : void(changed[key] = value);
        return QVCJSON{{"entries", {ok, changed}}};
    };
    const std::vector<std::pair<QVCJSON, std::string>> cases = {
        {QVCJSON::array(), "must be an object whose \"entries\" is an array"},
        {{{"entries", {ok, 3}}}, "entry 1, key \"\": an entry must be an object"},
        {with("method", nullptr), "entry 1, key \"method\": is missing"},
        {with("method", "PUT"), "entry 1, key \"method\": must be \"GET\" or \"POST\""},
        {with("path", "/a"), "entry 1, key \"path\": must not start with \"/\""},
        {with("path", "a/x{id}"), "entry 1, key \"path\": segment \"x{id}\""},
        {with("anwser", 1), "entry 1, key \"anwser\": is not a key of an entry"},
        {with("answer", nullptr), "entry 1, key \"answer\": an entry needs exactly one"},
        {with("answer", {{"status", 99}}), "entry 1, key \"answer.status\": must be a whole number from 100 to 599"},
        {with("answer", {{"headers", {{"Location", 1}}}}), "entry 1, key \"answer.headers.Location\": must be a text"},
        {with("answer", {{"bdy", 1}}), "entry 1, key \"answer.bdy\": is not a key of an answer"},
        {{{"entries", {{{"method", "GET"}, {"path", "a"}, {"answers", QVCJSON::array()}}}}},
         "entry 0, key \"answers\": must be a non-empty array"},
    };
    for (const auto& [document, expected] : cases) {
        const QVCJSON& malformed = document;
        EXPECT_THAT(messageOf<QVCSimulationFile::Invalid>([&] { QVCSimulationFile::fromDocument(malformed, "test"); }),
                    HasSubstr(expected))
            << document.dump();
    }
}

TEST(SimulationTransport, ReportsUnusableFilesAndReadsAFileOnceUntilAnotherIsNamed) {
    SimulationFileOnDisk broken("{\"entries\": [ {\"method\": \"GET\", ");
    SimulationFileOnDisk invalid(R"({"entries": [{"method": "GET", "path": "a"}]})");
    QVCSimulationWebServiceHandler handler;
    EXPECT_THAT(ask(handler, std::nullopt), HasSubstr("GET " + masterData + ": no simulation file was given"));
    EXPECT_THAT(ask(handler, "/nonexistent/Simulate.json"),
                HasSubstr("simulation file \"/nonexistent/Simulate.json\" does not exist"));
    // A directory once made the file stream throw on the transport's thread and end the process.
    EXPECT_THAT(ask(handler, broken.folder.path().string()),
                HasSubstr("simulation file \"" + broken.folder.path().string() + "\" is a directory, not a file"));
    EXPECT_THAT(ask(handler, broken.path()), HasSubstr("is not JSON"));
    EXPECT_THAT(ask(handler, invalid.path()), HasSubstr("entry 0, key \"answer\""));

    SimulationFileOnDisk first(documentOf({entry("GET", masterData, "first")}));
    SimulationFileOnDisk second(documentOf({entry("GET", masterData, "second")}));
    EXPECT_EQ(ask(handler, first.path()), "first");
    first.rewrite(documentOf({entry("GET", masterData, "changed")}));
    EXPECT_EQ(ask(handler, first.path()), "first") << "the file is read once, not for every request";
    EXPECT_EQ(ask(handler, second.path()), "second");
    EXPECT_EQ(ask(handler, first.path()), "changed");
}

TEST(SimulationTransport, MayBeReleasedFromItsOwnAnswer) {
    // A host that drops its last reference inside a completion must not deadlock the transport.
    SimulationFileOnDisk file(documentOf({entry("GET", masterData, 1)}));
    auto handler = std::make_shared<QVCSimulationWebServiceHandler>();
    std::promise<void> released;
    sendGet(*handler, masterData, file.path(), [&](const QVCResponse&) {
        handler.reset();
        released.set_value();
    });
    ASSERT_EQ(released.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(SimulationTransport, TheManagersStateMayBeUsedFromTheCallersAndTheTransportsThreads) {
    // Each round starts with the transport idle, so that its answers (which
    // write the balance and read the clock and the simulation path) overlap
    // the caller's authentication (which clears the balance), rules check,
    // clock and path: ThreadSanitizer reports any of these that race.
    auto manager = makeSimulationManager("1001");
    ASSERT_TRUE(manager && manager->simulatePath());
    const auto path = manager->simulatePath();
    auto waitFor = [](std::promise<void>& done) {
        return done.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    };
    std::promise<void> warmedUp;
    manager->retrieveLoyaltyInfo([&](auto, auto, auto, auto) { warmedUp.set_value(); });
    ASSERT_TRUE(waitFor(warmedUp));
    for (int round = 0; round < 20; ++round) {
        std::promise<void> balance, redeemed, authenticated;
        manager->retrieveLoyaltyInfo([&](auto, auto, auto, auto) { balance.set_value(); });
        manager->redeemOfferWithAmount("5", "SAVE10", "R", [&](auto, auto, auto) { redeemed.set_value(); });
        manager->authenticateConsumerWithUserName("jdoe", [&](auto, auto, auto) { authenticated.set_value(); });
        bool passed = false;
        manager->offerRulesCheck(std::make_shared<QVCOffer>(), "10", nullptr, [&](bool ok, auto) { passed = ok; });
        manager->setClock([] { return std::chrono::system_clock::time_point(); });
        manager->setSimulatePath(path);
        ASSERT_TRUE(waitFor(balance) && waitFor(redeemed) && waitFor(authenticated)) << "round " << round;
        EXPECT_TRUE(passed);
    }
    const auto loyalty = manager->loyalty();
    EXPECT_TRUE(loyalty == "" || loyalty == "1250") << loyalty.value_or("(none)");
}

}  // namespace
