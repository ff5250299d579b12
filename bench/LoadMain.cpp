// Load benchmark of an HTTP service on 127.0.0.1: requests/s, p50 and p99
// of an offer-list read (and of a redemption) at several kept-alive client
// counts, many concurrent connections, a reader beside idle and slow
// connections, and the memory a 1 GiB body without credentials costs.
// Prints one Markdown table row per measurement; every run is bounded.
#include "LoadBigBody.h"
#include "LoadRun.h"

#include <sys/resource.h>
#include <CLI/CLI.hpp>
#include <cstdio>

namespace {

using qvcbench::LoadPlan;

struct Options {
    uint16_t port = 0;
    std::string name = "service";
    std::string appID = "bench-app";
    std::string appKey = "bench-key";
    std::vector<int> clients{1, 8, 64, 512};
    double seconds = 3;
    double warmup = 1.5;
    bool redeem = false;
    int connections = 0;
    bool beside = false;
    int servicePid = 0;
};

const char* const offersPath = "/lqsapi/consumers/v1/consumers/1001/offers?facilityId=1";
const char* const redeemPath = "/lqsapi/consumers/v1/consumers/1001/offers/9005/redeems";

std::string credentials(const Options& options) {
    return "X-App-Id: " + options.appID + "\r\nX-App-Key: " + options.appKey + "\r\n";
}

std::function<std::string(int, long)> readRequest(const Options& options) {
    const std::string text =
        std::string("GET ") + offersPath + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + credentials(options) + "\r\n";
    return [text](int, long) { return text; };
}

// Every redemption carries its own reference id, so that each is applied.
std::function<std::string(int, long)> redeemRequest(const Options& options, int run) {
    const std::string head = std::string("POST ") + redeemPath + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                             credentials(options) + "Content-Type: application/json\r\n";
    return [head, run](int client, long n) {
        const std::string body = "{\"amount\": \"12.00\", \"referenceId\": \"load-" + std::to_string(run) + "-" +
                                 std::to_string(client) + "-" + std::to_string(n) +
                                 "\", \"offerCode\": \"FUEL15\", \"transactionDateTime\": \"2026-01-01T12:00:00\"}";
        return head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    };
}

void printRow(const Options& options, const std::string& what, const LoadPlan& plan, qvcbench::LoadResult result) {
    const double p50 = result.percentile(0.50);
    const double p99 = result.percentile(0.99);
    std::printf("| %s | %s | %d | %.0f | %.3f | %.3f | %ld | %d |\n", options.name.c_str(), what.c_str(), plan.clients,
                result.perSecond(), p50, p99, result.errors, result.clientsAnswered);
    std::fflush(stdout);
}

LoadPlan plan(const Options& options, int clients, std::function<std::string(int, long)> request) {
    LoadPlan plan;
    plan.port = options.port;
    plan.clients = clients;
    plan.seconds = options.seconds;
    plan.warmupSeconds = options.warmup;
    plan.request = std::move(request);
    return plan;
}

void measureClients(const Options& options) {
    static int run = 0;
    for (const int clients : options.clients) {
        LoadPlan reads = plan(options, clients, readRequest(options));
        printRow(options, "offer list", reads, qvcbench::runLoad(reads));
        if (options.redeem) {
            LoadPlan redeems = plan(options, clients, redeemRequest(options, ++run));
            printRow(options, "redemption", redeems, qvcbench::runLoad(redeems));
        }
    }
}

void measureHostile(const Options& options) {
    if (options.connections > 0) {
        LoadPlan many = plan(options, options.connections, readRequest(options));
        many.warmupSeconds = 0;
        printRow(options, "offer list, concurrent connections", many, qvcbench::runLoad(many));
    }
    if (options.beside) {
        LoadPlan alone = plan(options, 1, readRequest(options));
        printRow(options, "offer list, alone", alone, qvcbench::runLoad(alone));
        LoadPlan beside = alone;
        beside.idle = 64;
        beside.slow = 16;
        printRow(options, "offer list, beside 64 idle and 16 slow", beside, qvcbench::runLoad(beside));
    }
    if (options.servicePid > 0) {
        const qvcbench::BigBodyResult big = qvcbench::sendBigBody(options.port, options.servicePid, redeemPath);
        std::printf(
            "| %s | 1 GiB body without credentials | status %d | body bytes taken %lld | RSS growth %lld KiB "
            "| | | |\n",
            options.name.c_str(), big.status, big.bytesSent, big.rssGrowthKiB);
    }
}

void raiseOpenFileLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app{"Load benchmark of an HTTP service on 127.0.0.1"};
    app.add_option("--port", options.port, "port on 127.0.0.1")->required();
    app.add_option("--name", options.name, "name of the server in the table");
    app.add_option("--app-id", options.appID, "X-App-Id sent with every request");
    app.add_option("--app-key", options.appKey, "X-App-Key sent with every request");
    app.add_option("--clients", options.clients, "kept-alive client counts")->delimiter(',');
    app.add_option("--seconds", options.seconds, "length of each measurement")->check(CLI::Range(0.1, 60.0));
    app.add_option("--warmup", options.warmup, "seconds of load before measuring (not for --connections)")
        ->check(CLI::Range(0.0, 10.0));
    app.add_flag("--redeem", options.redeem, "measure redemptions too");
    app.add_option("--connections", options.connections, "concurrent connections reading offers");
    app.add_flag("--beside", options.beside, "one reader alone, then beside 64 idle and 16 slow connections");
    app.add_option("--service-pid", options.servicePid, "send a 1 GiB body and watch this process's RSS");
    CLI11_PARSE(app, argc, argv);
    raiseOpenFileLimit();
    measureClients(options);
    measureHostile(options);
    return 0;
}
