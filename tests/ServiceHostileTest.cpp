// The reference service against clients that are slow, idle, many, large or hostile, over raw sockets.
#include <memory>
#include <vector>

#include "RawConnection.h"
#include "ServiceTestSupport.h"

namespace {

class ServiceHostile : public ServiceTest {
protected:
    ServiceHostile() {
        auto options = optionsFor(std::nullopt);
        options.limits.idleTimeoutMs = 300;
        options.limits.headerTimeoutMs = 300;
        options.limits.bodyTimeoutMs = 300;
        startService(std::move(options));
    }

    int port() const { return std::stoi(service->url().substr(service->url().rfind(':') + 1)); }

    /// A GET of target with the credentials and the extra header lines given.
    static std::string get(const std::string& target, const std::string& extra = "") {
        return "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nX-App-Id: " + appID + "\r\nX-App-Key: " + appKey +
               "\r\n" + extra + "\r\n";
    }
    static std::string post(const std::string& target, const std::string& body, const std::string& extra = "") {
        return "POST " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n" + extra +
               "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    static std::string credentials() { return std::string("X-App-Id: ") + appID + "\r\nX-App-Key: " + appKey + "\r\n"; }

    /// The answer to text sent on a new connection.
    std::string exchange(const std::string& text) {
        RawConnection connection(port());
        connection.send(text);
        return connection.answer();
    }
    int statusOf(const std::string& text) { return RawConnection::statusOf(exchange(text)); }
    bool masterDataServed() { return statusOf(get("/lqsapi/consumers/v1/data")) == 200; }
};

TEST_F(ServiceHostile, IdleAndSlowConnectionsAreClosedAndHoldUpNobody) {
    std::vector<std::unique_ptr<RawConnection>> idle, slow;
    for (int i = 0; i < 64; ++i) {
        idle.push_back(std::make_unique<RawConnection>(port()));
    }
    for (int i = 0; i < 16; ++i) {
        slow.push_back(std::make_unique<RawConnection>(port()));
        slow.back()->send("GET /lqsapi/consumers/v1/data HTTP/1.1\r\nHo");
    }
    EXPECT_TRUE(masterDataServed()) << "served beside 64 idle and 16 slow connections";
    for (auto* group : {&idle, &slow}) {
        for (auto& connection : *group) {
            EXPECT_EQ(connection->answer(), "");
            EXPECT_TRUE(connection->closedByPeer()) << "closed at its timeout";
        }
    }
    RawConnection slowBody(port());
    slowBody.send(post("/lqsapi/consumers/v1/consumer", std::string(100, ' '), credentials()).substr(0, 200));
    EXPECT_EQ(slowBody.answer(), "");
    EXPECT_TRUE(slowBody.closedByPeer()) << "a body that does not come in time";
}

TEST_F(ServiceHostile, ALargeBodyIsRefusedFromItsHeadersAndCredentialsComeFirst) {
    const std::string gigabyte = "Content-Length: 1073741824\r\n";
    const auto head = [&](const std::string& extra) {
        return "POST /lqsapi/consumers/v1/consumer HTTP/1.1\r\nHost: 127.0.0.1\r\n" + extra + gigabyte + "\r\n";
    };
    EXPECT_EQ(statusOf(head("")), 401) << "without credentials nothing of the body is read";
    const auto tooLarge = exchange(head(credentials()));
    EXPECT_EQ(RawConnection::statusOf(tooLarge), 413);
    EXPECT_THAT(RawConnection::bodyOf(tooLarge), ::testing::HasSubstr("larger than 1048576 bytes"));
    // A chunked body declares no length: the limit stops it as it comes.
    RawConnection chunked(port());
    chunked.send("POST /lqsapi/consumers/v1/consumer HTTP/1.1\r\nHost: 127.0.0.1\r\n" + credentials() +
                 "Transfer-Encoding: chunked\r\n\r\n100000\r\n" + std::string(0x100000, ' ') + "\r\n10\r\n");
    EXPECT_EQ(RawConnection::statusOf(chunked.answer()), 413);
}

TEST_F(ServiceHostile, TooManyOrTooLargeHeadersAndControlCharactersAreRefused) {
    std::string many, huge;
    for (int i = 0; i < 101; ++i) {
        many += "X-Filler-" + std::to_string(i) + ": v\r\n";
    }
    for (int i = 0; i < 32768; ++i) {
        huge += "X-Filler-" + std::to_string(i) + ": v\r\n";
    }
    EXPECT_EQ(statusOf(get("/lqsapi/consumers/v1/data", many)), 431);
    EXPECT_EQ(statusOf(get("/lqsapi/consumers/v1/data", huge)), 431);
    EXPECT_EQ(statusOf(get("/lqsapi/consumers/v1/data", std::string("X-Other: a\0b\r\n", 15))), 400);
    // A key carrying a NUL and more after it is not the key.
    EXPECT_EQ(statusOf("GET /lqsapi/consumers/v1/data HTTP/1.1\r\nHost: 127.0.0.1\r\nX-App-Id: " + std::string(appID) +
                       "\r\nX-App-Key: " + appKey + std::string("\0junk", 5) + "\r\n\r\n"),
              400);
    QVCServiceRequest request{"GET", "/lqsapi/consumers/v1/data", {{"X-App-Id", appID}, {"X-App-Key", appKey}}, ""};
    request.headers.emplace_back("X-Note", "line\x01");
    const auto answer = service->handle(request);
    EXPECT_EQ(answer.status, 400);
    EXPECT_THAT(answer.body, ::testing::HasSubstr("X-Note holds a control character"));
    EXPECT_TRUE(masterDataServed());
}

TEST_F(ServiceHostile, DeepNestingAndLongPathsAreAnsweredWithoutRecursion) {
    const std::string deep = std::string(200000, '[') + std::string(200000, ']');
    const auto admin = exchange(post("/__admin/faults", deep, credentials()));
    EXPECT_EQ(RawConnection::statusOf(admin), 400);
    EXPECT_THAT(RawConnection::bodyOf(admin), ::testing::HasSubstr("nests deeper than 64 levels"));
    const std::string token = "{\"deviceToken\": " + std::string(65, '[') + std::string(65, ']') +
                              ", \"deviceType\": \"ios\", \"en_Push\": 1}";
    EXPECT_EQ(statusOf(post("/lqsapi/consumers/v1/consumer/1001/device", token, credentials())), 400);
    const std::string shallow = "{\"deviceToken\": " + std::string(60, '[') + std::string(60, ']') +
                                ", \"deviceType\": \"ios\", \"en_Push\": 1}";
    EXPECT_EQ(statusOf(post("/lqsapi/consumers/v1/consumer/1001/device", shallow, credentials())), 200);
    std::string longPath = "/lqsapi";
    while (longPath.size() < 8100) {
        longPath += "/a";
    }
    const auto unknown = exchange(get(longPath));
    EXPECT_EQ(RawConnection::statusOf(unknown), 404);
    EXPECT_THAT(RawConnection::bodyOf(unknown), ::testing::HasSubstr("no such request"));
    EXPECT_EQ(statusOf(get("/lqsapi/" + std::string(20000, 'a'))), 431) << "longer than the header limit";
    EXPECT_TRUE(masterDataServed());
}

TEST_F(ServiceHostile, ABurstOfConnectionsIsAllAnswered) {
    constexpr int burst = 300;
    std::vector<std::unique_ptr<RawConnection>> connections;
    for (int i = 0; i < burst; ++i) {
        connections.push_back(std::make_unique<RawConnection>(port()));
        connections.back()->send(get("/lqsapi/consumers/v1/data"));
    }
    int answered = 0;
    for (auto& connection : connections) {
        answered += RawConnection::statusOf(connection->answer()) == 200;
    }
    EXPECT_EQ(answered, burst);
}

TEST_F(ServiceHostile, AdminRequestsNeedCredentialsAndRefuseWebPagesAndForeignHosts) {
    admin("/__admin/faults", QVCJSON{{"path", "never/"}});  // a reset would clear it
    EXPECT_EQ(statusOf(post("/__admin/reset", "{}")), 401);
    EXPECT_EQ(statusOf(post("/__admin/reset", "{}", credentials() + "Origin: http://localhost\r\n")), 403);
    EXPECT_EQ(statusOf("GET /__admin/state HTTP/1.1\r\nHost: rebound.example:80\r\n" + credentials() + "\r\n"), 403);
    EXPECT_EQ(statusOf("GET /__admin/state HTTP/1.1\r\n" + credentials() + "\r\n"), 403) << "no Host";
    const std::string plain = "POST /__admin/reset HTTP/1.1\r\nHost: localhost\r\n" + credentials() +
                              "Content-Type: text/plain\r\nContent-Length: 2\r\n\r\n{}";
    EXPECT_EQ(statusOf(plain), 415);
    for (const char* host : {"127.0.0.1", "localhost:1", "[::1]:8480", "LOCALHOST"}) {
        EXPECT_EQ(
            statusOf("GET /__admin/state HTTP/1.1\r\nHost: " + std::string(host) + "\r\n" + credentials() + "\r\n"),
            200)
            << host;
    }
    EXPECT_EQ(statusOf("GET /__admin/health HTTP/1.1\r\nHost: x\r\n\r\n"), 200) << "health stays open";
    EXPECT_EQ(admin("/__admin/faults").size(), 1u) << "no refused reset was applied";
}

TEST_F(ServiceHostile, AnAdminKeyOpensAdminRequestsOnly) {
    auto options = optionsFor(std::nullopt);
    options.adminKey = "admin-secret";
    startService(std::move(options));
    EXPECT_EQ(statusOf("GET /__admin/state HTTP/1.1\r\nHost: localhost\r\nX-Admin-Key: admin-secret\r\n\r\n"), 200);
    EXPECT_EQ(statusOf("GET /__admin/state HTTP/1.1\r\nHost: localhost\r\nX-Admin-Key: wrong\r\n\r\n"), 401);
    EXPECT_EQ(
        statusOf("GET /lqsapi/consumers/v1/data HTTP/1.1\r\nHost: localhost\r\nX-Admin-Key: admin-secret\r\n\r\n"),
        401);
}

TEST_F(ServiceHostile, AResetFaultHitsTheRequestItMatchedAndNoOtherConnection) {
    std::vector<std::unique_ptr<RawConnection>> others;
    for (int i = 0; i < 8; ++i) {
        others.push_back(std::make_unique<RawConnection>(port()));
    }
    admin("/__admin/faults", QVCJSON{{"path", "lqsapi/consumers/v1/consumer/jdoe/*"}, {"action", "reset-after-body"}});
    RawConnection target(port());
    target.send(get("/lqsapi/consumers/v1/consumer/jdoe/authenticate"));
    EXPECT_EQ(target.answer(), "");
    EXPECT_TRUE(target.reset() || target.closedByPeer());
    for (auto& other : others) {
        other->send(get("/lqsapi/consumers/v1/consumer/jdoe/authenticate"));
        EXPECT_EQ(RawConnection::statusOf(other->answer()), 200);
    }
}

TEST_F(ServiceHostile, ARepeatedRedemptionIsAnsweredAsTheFirstAndMarkedAsAReplay) {
    const std::string body =
        R"({"amount": "57.00", "offerCode": "SAVE10", "referenceId": "POS-R", "transactionDateTime": "2026-01-01"})";
    const std::string target = "/lqsapi/consumers/v1/consumers/1001/offers/9001/redeems";
    const auto first = exchange(post(target, body, credentials()));
    const auto again = exchange(post(target, body, credentials()));
    EXPECT_EQ(RawConnection::statusOf(first), 201);
    EXPECT_EQ(RawConnection::statusOf(again), 201);
    EXPECT_EQ(RawConnection::bodyOf(again), RawConnection::bodyOf(first));
    const auto location = [](const std::string& answer) {
        const auto at = answer.find("Location: ");
        return at == std::string::npos ? std::string() : answer.substr(at, answer.find("\r\n", at) - at);
    };
    EXPECT_EQ(location(again), location(first));
    EXPECT_NE(location(first), "");
    EXPECT_EQ(first.find("Idempotent-Replayed"), std::string::npos);
    EXPECT_THAT(again, ::testing::HasSubstr("Idempotent-Replayed: true\r\n"));
    EXPECT_EQ(state()["redemptions"].size(), 1u);
}

}  // namespace
