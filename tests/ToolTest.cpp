// The qvconsumer tool, run as a separate process against the shipped simulation file.

#include <httplib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "ProcessTestSupport.h"

namespace {

namespace fs = std::filesystem;

std::string golden(const std::string& name) {
    return readFile(fs::path(QVC_GOLDEN_DIR) / name);
}

/// The readable output with the checkout's own folder replaced by "<resources>".
std::string normalised(std::string text) {
    const std::string folder = QVC_SOURCE_RESOURCE_DIR;
    for (std::size_t at = text.find(folder); at != std::string::npos; at = text.find(folder, at)) {
        text.replace(at, folder.size(), "<resources>");
    }
    return text;
}

nlohmann::json parsedOut(const ToolRun& run) {
    EXPECT_EQ(run.status, 0) << run.err;
    return nlohmann::json::parse(run.out);
}

TEST(ToolReadableOutput, MatchesTheGoldenFiles) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"demo.txt", {"demo"}},
        {"offers.txt", {"--user", "jdoe", "offers"}},
        {"authenticate.txt", {"authenticate", "asmith"}},
        {"offer-code.txt", {"--user", "jdoe", "offer-code", " GOLD 20 "}},
        {"validate.txt", {"--user", "jdoe", "validate", "GOLD20", "--item", "401:30:2", "--item", "999:10"}},
        {"master-data.txt", {"master-data"}},
    };
    for (const auto& [file, arguments] : cases) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 0) << file << ": " << run.err;
        EXPECT_EQ(run.err, "") << file;
        EXPECT_EQ(normalised(run.out), golden(file)) << file;
    }
}

TEST(ToolProfiles, UpdateWithoutConsumerStartsFromANewRecord) {
    const auto updated = parsedOut(runTool({"--json", "--consumer-id", "5", "update-profile", "--last-name", "Lee"}));
    EXPECT_EQ(updated["firstName"], "");
    EXPECT_EQ(updated["lastName"], "Lee");
}

TEST(ToolProfiles, UpdateSendsBackTheConsumersOwnRowsWithOnlyTheGivenChange) {
    // A service that knows jdoe with the rows 7, 11, 12 and 13 and no middle name.
    httplib::Server service;
    std::mutex mutex;
    nlohmann::json sent;
    service.Get(".*/jdoe/authenticate", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(R"({"consumers": [{"consumerId": 1001, "userId": "jdoe", "contactList": [{
            "contactId": "7", "contactTypeCode": "2", "firstName": "John", "lastName": "Doe",
            "address": [{"addressId": "11", "addressLine3": "Suite 3"}], "email": [{"emailAddressId": "12"}],
            "phone": [{"phoneNumberId": "13"}]}]}]})",
                             "application/json");
    });
    service.Post("/lqsapi/consumers/v1/consumer", [&](const httplib::Request& request, httplib::Response& response) {
        std::lock_guard<std::mutex> lock(mutex);
        sent.push_back(nlohmann::json::parse(request.body)["consumerRq"]["consumers"]);
        response.set_content(R"({"consumers": {"consumerId": 1001}})", "application/json");
    });
    const int port = service.bind_to_any_port("127.0.0.1");
    std::thread thread([&] { service.listen_after_bind(); });
    auto live = [&](std::vector<std::string> arguments) {
        const std::string url = "http://127.0.0.1:" + std::to_string(port);
        arguments.insert(arguments.begin(),
                         {"--env", "live", "--service-url", url, "--app-id", "a", "--app-key", "k", "--user", "jdoe"});
        return runTool(arguments);
    };
    // One field changed by an option, then through the profile file authenticate prints.
    TemporaryFolder folder;
    const fs::path file = folder.path() / "profile.json";
    auto profile = parsedOut(live({"--json", "authenticate"}));
    profile["firstName"] = "Ann";
    std::ofstream(file) << profile;
    EXPECT_EQ(live({"update-profile", "--first-name", "Ann"}).status, 0);
    EXPECT_EQ(live({"update-profile", "--profile", file.string()}).status, 0);
    service.stop();
    thread.join();

    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[1], sent[0]);
    // The rows' ids and codes and the unchanged fields come back as they were read.
    const auto expected = nlohmann::json::parse(R"({"contactId": "7", "contactTypeCode": "2", "firstName": "Ann",
        "lastName": "Doe", "middleName": "", "address": [{"addressId": "11", "addressLine3": "Suite 3"}],
        "email": [{"emailAddressId": "12"}], "phone": [{"phoneNumberId": "13"}]})")
                              .flatten();
    for (const auto& [pointer, value] : expected.items()) {
        EXPECT_EQ(sent[0]["contactList"][0][nlohmann::json::json_pointer(pointer)], value) << pointer;
    }
}

TEST(ToolFailures, HaveOneLineMessagesAndDocumentedStatuses) {
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string message;
    };
    TemporaryFolder folder;
    const fs::path missing = folder.path() / "missing.json", invalid = folder.path() / "invalid.json",
                   refused = folder.path() / "refused.json", silent = folder.path() / "silent.json";
    std::ofstream(invalid) << "{\"firstName\": ";
    // The reader refuses master data listing more countries than occupations.
    std::ofstream(refused) << R"({"entries": [{"method": "GET", "path": "lqsapi/consumers/v1/data",
        "answer": {"body": {"consumerRs": {"occupationTypes": [], "country": [{"countryCode": "US"}]}}}}]})";
    // An offer detail answer that is not one offer document calls no completion.
    std::ofstream(silent) << R"({"entries": [{"method": "GET", "path": "lqsapi/consumers/v1/consumers/{id}/offers/{o}",
                                              "answer": {"body": []}}]})";
    const std::vector<Case> cases = {
        {{"frobnicate"}, 2, "frobnicate"},
        {{"validate", "SAVE10", "--item", "12"}, 2, "basket item \"12\" is not ID:PRICE[:QUANTITY]"},
        {{"redeem", "SAVE10", "--amount", "ten", "--reference", "R"}, 2, "amount \"ten\" is not a number"},
        {{"redeem", "SAVE10", "--amount", "-5", "--reference", "R"}, 2, "amount \"-5\" is negative"},
        {{"redeem", "SAVE10", "--amount", "nan", "--reference", "R"}, 2, "amount \"nan\" is not a number"},
        {{"validate", "SAVE10", "--item", "1:-2"}, 2, "price \"-2\" in basket item \"1:-2\" is negative"},
        {{"validate", "SAVE10", "--item", "1:2:0"}, 2, "quantity in basket item \"1:2:0\" must be at least 1"},
        {{"validate", "SAVE10", "--item", "1:2:-1"}, 2, "quantity in basket item \"1:2:-1\" must be at least 1"},
        {{"sign-up", "--first-name", "Ann"}, 2, "sign-up needs a user name (--user-name), a last name (--last-name)"},
        {{"authenticate"}, 2, "authenticate needs a user name"},
        {{"rules-check", "SAVE10", "--cart-total", "1,5"}, 2, "cart total \"1,5\" is not a number"},
        {{"sign-up", "--profile", missing.string()}, 2, "profile file \"" + missing.string() + "\" does not exist"},
        {{"sign-up", "--profile", folder.path().string()}, 2, "is a directory, not a file"},
        {{"sign-up", "--profile", invalid.string()}, 2, "is not valid JSON"},
        {{"--simulation-file", missing.string(), "loyalty"}, 2, "does not exist"},
        {{"--simulation-file", folder.path().string(), "loyalty"}, 2, "is a directory, not a file"},
        {{"--timeout-ms", "86400001", "loyalty"}, 2, "not in range 1 to 86400000"},
        {{"--timeout-ms", "9223372036854775807", "loyalty"}, 2, "not in range 1 to 86400000"},
        {{"--timeout-ms", "99999999999999999999", "loyalty"}, 2, "not in range 1 to 86400000"},
        {{"--company-id", "99999999999999999999", "loyalty"}, 2, "--company-id: must be a whole number from 0 to"},
        {{"--facility-id", "-1", "loyalty"}, 2, "--facility-id: must be a whole number from 0 to"},
        {{"--env", "live", "loyalty"}, 2, "the live environment needs --app-id and --app-key"},
        {{"--env", "live", "--app-id", "a", "--app-key", "k", "loyalty"}, 2, "needs --service-url"},
        {{"authenticate", "nobody"}, 3, "authenticate \"nobody\" failed: 404"},
        {{"--user", "jdoe", "offer-code", "NOPE"}, 3, "This offer is not valid any more"},
        // Refused on the transport's thread: reported at once, not waited for.
        {{"--simulation-file", refused.string(), "--timeout-ms", "2000", "master-data"},
         4,
         "master-data raised: country[0].sortOrder is read from occupationTypes[0], which does not exist"},
        // Silent paths end as soon as the library lets go of the call, long before the time limit.
        {{"--simulation-file", silent.string(), "--timeout-ms", "60000", "--consumer-id", "1", "offer", "7"},
         3,
         "offer \"7\": the operation ended without an answer"},
        {{"--timeout-ms", "60000", "--consumer-id", "1", "offer", "a/b"},
         3,
         "offer \"a/b\": the operation ended without an answer (GET lqsapi/consumers/v1/consumers/"},
    };
    for (const auto& [arguments, status, message] : cases) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, status) << message << ": " << run.err;
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_EQ(run.out, "") << message;
    }
}

TEST(ToolFailures, AnOfferAnswerThatIsNotJSONOrNoneAtAllEndsAtOnce) {
    httplib::Server service;
    service.Get(".*/offers/7", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("<html>busy</html>", "text/html");
    });
    const int port = service.bind_to_any_port("127.0.0.1");
    std::thread thread([&] { service.listen_after_bind(); });
    // Port 9 on loopback refuses the connection.
    const std::vector<std::pair<int, std::string>> cases = {{port, "answer is not JSON"}, {9, "connection refused"}};
    for (const auto& [target, cause] : cases) {
        const ToolRun run = runTool({"--env", "live", "--service-url", "http://127.0.0.1:" + std::to_string(target),
                                     "--app-id", "a", "--app-key", "k", "--consumer-id", "1", "offer", "7"});
        EXPECT_EQ(run.status, 3) << run.err;
        EXPECT_THAT(run.err, HasSubstr("qvconsumer: offer \"7\": the operation ended without an answer ("));
        EXPECT_THAT(run.err, HasSubstr(cause));
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
    service.stop();
    thread.join();
}

TEST(ToolFailures, TheLargestTimeoutAndIdsAreAcceptedAndWaitedFor) {
    // The wait limit is computed from the largest values without overflowing:
    // the simulation's answer is awaited, not given up on at once.
    const ToolRun run = runTool({"--timeout-ms", "86400000", "--company-id", "9223372036854775807", "--facility-id",
                                 "9223372036854775807", "--user", "jdoe", "loyalty"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("points: 1250"));
}

TEST(ToolFailures, OutputThatCannotBeWrittenIsNotSuccess) {
    const ToolRun run = runTool({"--user", "jdoe", "loyalty"}, "/dev/full");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "qvconsumer: the output could not be written\n");
}

TEST(ToolLiveDemo, TellsTheSameJourneyOverHTTPToItsOwnService) {
#ifndef QVC_TESTS_WITH_SERVICE
    GTEST_SKIP() << "the reference service is not built";
#endif
    const ToolRun run = runTool({"demo", "--live", "--verbose"});
    ASSERT_EQ(run.status, 0) << run.err;
    const auto afterFirstLine = [](const std::string& text) { return text.substr(text.find('\n')); };
    EXPECT_EQ(afterFirstLine(run.out), afterFirstLine(golden("demo.txt")));
    EXPECT_THAT(run.out, HasSubstr("answered by the reference service at http://127.0.0.1:"));
    // The redemption went to the in-process service, which recorded it.
    EXPECT_THAT(run.err, ::testing::ContainsRegex("POST http://127\\.0\\.0\\.1:[0-9]+/lqsapi/consumers/v1/consumers/"
                                                  "1001/offers/[0-9]+/redeems -> 201"));
}

TEST(ToolDiagnostics, VersionAndVerboseExchanges) {
    const ToolRun version = runTool({"--version"});
    EXPECT_EQ(version.status, 0) << version.err;
    EXPECT_THAT(version.out, ::testing::MatchesRegex("QVConsumer [0-9.]+\nlibcurl [0-9.]+ .*\nsimdjson [0-9.]+ .*\n"));

    // Port 9 on loopback refuses: each of the three attempts is shown, then the one-line error.
    const ToolRun verbose = runTool({"--verbose", "--env", "live", "--service-url", "http://127.0.0.1:9/", "--app-id",
                                     "a", "--app-key", "secret-key-42", "--consumer-id", "1", "loyalty"});
    EXPECT_EQ(verbose.status, 3);
    EXPECT_EQ(verbose.out, "");
    const std::string attempt =
        "qvconsumer: GET http://127.0.0.1:9/lqsapi/consumers/v1/consumer/1/balance/loyalty -> no answer \\(connection "
        "refused\\) in [0-9]+ ms, 0 bytes sent, 0 received\n";
    EXPECT_THAT(verbose.err,
                ::testing::MatchesRegex(attempt + attempt + attempt + "qvconsumer: loyalty failed: [^\n]*\n"));
}

TEST(ToolHelp, HelpCommandMatchesTheGoldenFilesAndTheHelpOption) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"help.txt", {"help"}},
        {"help-validate.txt", {"help", "validate"}},
    };
    for (const auto& [file, arguments] : cases) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 0) << file << ": " << run.err;
        EXPECT_EQ(run.out, golden(file)) << file;
    }
    EXPECT_EQ(runTool({"--help"}).out, golden("help.txt"));
    EXPECT_EQ(runTool({"validate", "--help"}).out, golden("help-validate.txt"));
}

/// Every usage error is one line on stderr, status 2, nothing on stdout; the
/// golden file holds each command line and the line it gets.
TEST(ToolUsage, ErrorsAreOneLineWithSuggestionsAsTheGoldenFile) {
    const std::vector<std::vector<std::string>> cases = {
        {"ofers"},
        {"valdate", "SAVE10"},
        {"off"},
        {"frobnicate"},
        {"--jsn", "offers"},
        {"--user", "jdoe", "offers", "--verbos"},
        {"--user", "jdoe", "offers", "extra"},
        {"help", "ofer-code"},
        {},
        {"validate", "SAVE10"},
        {"--env", "staging", "offers"},
        {"--consumer-id", "abc", "offers"},
        {"offers"},
        {"push-token", "abc"},
        {"redeem", "SAVE10", "--amount", "5", "--reference", "R"},
        {"--env", "live", "--app-id", "a", "--app-key", "k", "--service-url", "127.0.0.1:8480", "loyalty"},
        {"--env", "live", "--app-id", "a", "--app-key", "k", "--service-url", "ftp://host/", "loyalty"},
        {"--env", "live", "--app-id", "a", "--app-key", "k", "--service-url", "http:///path", "loyalty"},
    };
    std::string transcript;
    for (const auto& arguments : cases) {
        const ToolRun run = runTool(arguments);
        transcript += "$ qvconsumer";
        for (const auto& argument : arguments) {
            transcript += " " + argument;
        }
        transcript += "\n" + run.err;
        EXPECT_EQ(run.status, 2) << transcript;
        EXPECT_EQ(run.out, "") << transcript;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
    EXPECT_EQ(transcript, golden("usage.txt"));
}

TEST(ToolUsage, AnInvalidSimulationFileIsAUsageError) {
    TemporaryFolder folder;
    const fs::path notJSON = folder.path() / "text.json", noEntries = folder.path() / "object.json";
    std::ofstream(notJSON) << "entries";
    std::ofstream(noEntries) << R"({"entries": 3})";
    for (const fs::path& file : {notJSON, noEntries}) {
        const ToolRun run = runTool({"--simulation-file", file.string(), "master-data"});
        EXPECT_EQ(run.status, 2) << run.err;
        EXPECT_THAT(run.err, HasSubstr("qvconsumer: simulation file \"" + file.string() + "\""));
    }
}

/// The JSON type of each key of value, and of its nested objects, by path
/// without array indexes ("products.price"); null is left out.
void collectTypes(const nlohmann::json& value, const std::string& path, std::map<std::string, std::string>& types) {
    if (value.is_array()) {
        for (const auto& element : value) {
            collectTypes(element, path, types);
        }
        return;
    }
    if (!value.is_object()) {
        if (!value.is_null()) {
            types[path] = value.type_name();
        }
        return;
    }
    for (const auto& [key, member] : value.items()) {
        collectTypes(member, path.empty() ? key : path + "." + key, types);
    }
}

TEST(ToolJSON, EachKeyHasOneTypeAcrossCommandsAndAbsentIsNull) {
    const std::vector<std::vector<std::string>> commands = {
        {"authenticate", "jdoe"},
        {"--consumer-id", "1001", "push-token", "abc"},
        {"--user", "jdoe", "offers"},
        {"--user", "jdoe", "offer-code", "SAVE10"},
        {"--user", "jdoe", "offer-code", "FIVEOFF25"},
        {"--user", "jdoe", "validate", "SAVE10", "--item", "301:24.50:2"},
        {"--user", "jdoe", "validate", "FIVEOFF25", "--item", "101:24.50"},
        {"--user", "jdoe", "redeem", "SAVE10", "--amount", "57", "--reference", "R1"},
        {"--user", "jdoe", "rules-check", "SAVE10", "--cart-total", "20"},
        {"--user", "jdoe", "loyalty"},
    };
    std::map<std::string, std::map<std::string, std::string>> typesOf;  // leaf key -> type -> first command
    std::vector<nlohmann::json> offers;
    for (const auto& command : commands) {
        const ToolRun run = runTool([&] {
            std::vector<std::string> arguments = {"--json"};
            arguments.insert(arguments.end(), command.begin(), command.end());
            return arguments;
        }());
        const auto document = parsedOut(run);
        EXPECT_THAT(run.out, ::testing::Not(HasSubstr("(null)"))) << command.back();
        std::map<std::string, std::string> types;
        collectTypes(document, "", types);
        for (const auto& [path, type] : types) {
            const std::string key = path.substr(path.rfind('.') + 1);
            typesOf[key].emplace(type, command.back());
        }
        if (document.contains("offerName")) {
            offers.push_back(document);
        } else if (document.is_array() && !document.empty() && document.front().contains("offerName")) {
            offers.push_back(document.front());
        }
    }
    for (const auto& [key, types] : typesOf) {
        EXPECT_EQ(types.size(), 1u) << key << " has " << types.size() << " types";
    }
    EXPECT_EQ(typesOf["consumerID"].begin()->first, "number");
    ASSERT_GE(offers.size(), 2u);
    for (const auto& offer : offers) {
        std::vector<std::string> keys, expected;
        for (const auto& [key, value] : offer.items()) {
            keys.push_back(key);
        }
        for (const auto& [key, value] : offers.front().items()) {
            expected.push_back(key);
        }
        EXPECT_EQ(keys, expected) << offer["offerCode"];
    }
}

}  // namespace
