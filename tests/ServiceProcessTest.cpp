// The qvconsumer-service program, run as a separate process.
#include <httplib.h>

#include <cstring>
#include <thread>

#include "ProcessTestSupport.h"

namespace {

TEST(ServiceProcess, PrintsItsURLAndStopsCleanlyOnSIGINTAndSIGTERMAfterTheRequestsInProgress) {
    for (const int signal : {SIGINT, SIGTERM}) {
        TemporaryFolder folder;
        ChildProcess process({QVC_SERVICE_PATH, "--port", "0", "--db", (folder.path() / "service.db").string(),
                              "--seed", QVC_SOURCE_RESOURCE_DIR "/QVConsumerSimulate.json", "--app-id", "app",
                              "--app-key", "key"});
        const std::string url = process.readLine();
        ASSERT_THAT(url, ::testing::MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/")) << strsignal(signal);
        httplib::Client admin(url.substr(0, url.size() - 1));
        ASSERT_TRUE(admin.Post("/__admin/faults", R"({"path": "v1/data$", "delayMs": 500})", "application/json"));

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
