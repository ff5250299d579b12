// The qvconsumer-service program, run as a separate process.
#include <httplib.h>

#include <cstring>
#include <thread>

#include "ProcessTestSupport.h"
#include "RawConnection.h"

namespace {

/// The service's command line on a database file in folder, with the arguments given after it.
std::vector<std::string> serviceCommand(const TemporaryFolder& folder, const std::vector<std::string>& more = {}) {
    std::vector<std::string> command{QVC_SERVICE_PATH,
                                     "--db",
                                     (folder.path() / "service.db").string(),
                                     "--seed",
                                     QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json",
                                     "--app-id",
                                     "app",
                                     "--app-key",
                                     "key"};
    command.insert(command.end(), more.begin(), more.end());
    return command;
}

int portOf(const std::string& url) {
    return std::stoi(url.substr(url.rfind(':') + 1));
}

TEST(ServiceProcess, PrintsItsURLAndStopsCleanlyOnSIGINTAndSIGTERMAfterTheRequestsInProgress) {
    for (const int signal : {SIGINT, SIGTERM}) {
        TemporaryFolder folder;
        ChildProcess process({QVC_SERVICE_PATH, "--port", "0", "--db", (folder.path() / "service.db").string(),
                              "--seed", QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json", "--app-id", "app",
                              "--app-key", "key"});
        const std::string url = process.readLine();
        ASSERT_THAT(url, ::testing::MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/")) << strsignal(signal);
        httplib::Client admin(url.substr(0, url.size() - 1));
        admin.set_default_headers({{"X-App-Id", "app"}, {"X-App-Key", "key"}});
        ASSERT_TRUE(admin.Post("/__admin/faults", R"({"path": "*v1/data", "delayMs": 500})", "application/json"));

        int status = 0;
        std::string body;
        std::thread request([&] {
            httplib::Client client(url.substr(0, url.size() - 1));
            if (auto result = client.Get("/lqsapi/consumers/v1/data", {{"X-App-Id", "app"}, {"X-App-Key", "key"}})) {
                status = result->status;
                body = result->body;
            }
        });
        // The request is counted when it arrives, before its delay.
        for (int i = 0; i < 500; ++i) {
            const auto state = admin.Get("/__admin/state");
            if (state && QVCJSON::parse(state->body)["requestCounts"].value("lqsapi/consumers/v1/data", 0) == 1) {
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_EQ(process.stop(signal), 0) << strsignal(signal);
        request.join();
        EXPECT_EQ(status, 200) << strsignal(signal);
        EXPECT_TRUE(QVCJSON::parse(body, nullptr, false).contains("consumerRs"));
    }
}

}  // namespace

namespace {

TEST(ServiceProcess, StopsWithinTheGraceWhileSlowSendersHoldConnections) {
    TemporaryFolder folder;
    ChildProcess process(
        serviceCommand(folder, {"--header-timeout", "60000", "--body-timeout", "60000", "--grace", "200"}));
    const int port = portOf(process.readLine());
    RawConnection slowHeaders(port), slowBody(port);
    slowHeaders.send("GET /lqsapi/consumers/v1/data HTTP/1.1\r\nHo");
    slowBody.send(
        "POST /lqsapi/consumers/v1/consumer HTTP/1.1\r\nHost: localhost\r\nX-App-Id: app\r\n"
        "X-App-Key: key\r\nContent-Length: 100\r\n\r\n{");
    RawConnection probe(port);  // every connection before it was taken in
    probe.send("GET /__admin/health HTTP/1.1\r\nHost: localhost\r\n\r\n");
    ASSERT_EQ(RawConnection::statusOf(probe.answer()), 200);
    EXPECT_EQ(process.stop(SIGTERM), 0);
    EXPECT_EQ(slowHeaders.answer(), "");
    EXPECT_EQ(slowBody.answer(), "");
}

TEST(ServiceProcess, RefusesToStartOnADatabaseInUseWithEmptyCredentialsOrWrongUsage) {
    TemporaryFolder folder;
    ChildProcess first(serviceCommand(folder));
    ASSERT_THAT(first.readLine(), ::testing::StartsWith("http://"));
    const auto errors = [&](std::vector<std::string> command) {
        const auto err = (folder.path() / "err").string(), out = (folder.path() / "out").string();
        const int status = ChildProcess(command, {out, err}).stop();
        return std::make_pair(status, readFile(err));
    };
    const auto second = errors(serviceCommand(folder, {"--port", "0"}));
    EXPECT_EQ(second.first, 2);
    EXPECT_THAT(second.second, ::testing::MatchesRegex("qvconsumer-service: database \".*\" is in use by another "
                                                       "service\n"));
    const auto emptyKey = errors({QVC_SERVICE_PATH, "--seed", QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json",
                                  "--app-id", "app", "--app-key", ""});
    EXPECT_EQ(emptyKey, std::make_pair(2, std::string("qvconsumer-service: --app-key must not be empty\n")));
    EXPECT_EQ(errors({QVC_SERVICE_PATH, "--app-id", "a"}).first, 2) << "a missing option";
    EXPECT_EQ(errors({QVC_SERVICE_PATH, "--port", "x", "--app-id", "a", "--app-key", "k"}).first, 2);
    EXPECT_EQ(errors({QVC_SERVICE_PATH, "--help"}).first, 0);
    EXPECT_EQ(first.stop(SIGTERM), 0);
}

}  // namespace
