// qvc_bench_e2e: requests per second and latency of whole offer-list requests
// against an HTTP server on 127.0.0.1 started by this program.
//
// The server (cpp-httplib, its own thread pool, keep-alive) answers
//   GET /lqsapi/consumers/v1/consumers/1100/offers  with the 100-offer answer,
//   GET /lqsapi/consumers/v1/consumers/1000/offers  with "[]".
// The clients take turns against this one server, each keeping 1 or 8
// requests in flight over kept-alive connections, for a fixed number of
// requests (stopping early at a time limit); 1, 8 and 64 in flight:
//   manager  a live QVConsumerManager calling getAllOffersWithCompletionHandler
//            (libcurl transport, JSON parse, offer records);
//   curl     a plain libcurl multi client that only transfers the answer;
//   curl+decode  the same client, decoding each answer on its one thread into
//            the library's offer records (the library without its transport);
//   node     bench/peers/e2e.js, Node's http with a keep-alive agent,
//            decoding the answer into plain objects.
// Each scenario is measured --repetitions times, clients interleaved, and
// printed as one line:
//   e2e client=manager answer=offers100 inflight=8 rep=1 requests=2000 errors=0
//       seconds=0.81 rps=2469.1 p50_us=3051.2 p99_us=5120.9
// Every answer is checked (status, size or record count); the exit status is
// 1 when any request failed or any client could not run.
//
//   qvc_bench_e2e [--data-dir FOLDER] [--requests N] [--warmup N] [--seconds S]
//                 [--repetitions R] [--node PATH] [--peers FOLDER]
//                 [--clients manager,curl,curl+decode,node]

#include <curl/curl.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVConsumerManager.h"
#include "bench/BenchFiles.h"
#include "bench/BenchManager.h"
#include "bench/LoopbackListen.h"
#include "bench/OfferListGenerator.h"
#include "platform/QVCEnvironment.h"
#include "platform/QVCPlatformConfiguration.h"

namespace {

using Clock = std::chrono::steady_clock;

const char* const kConsumerWithOffers = "1100";
const char* const kConsumerWithoutOffers = "1000";
constexpr std::size_t kOffersInAnswer = 100;

struct Options {
    std::string dataFolder;
    std::size_t requests = 2000;
    std::size_t warmup = 200;
    double seconds = 8.0;
    int repetitions = 3;
    std::string node = "node";
    std::string peers = qvcbench::peersFolder();
    std::vector<std::string> clients = {"manager", "curl", "curl+decode", "node"};
};

/// One kind of answer the server gives.
struct Answer {
    std::string name;        ///< "empty" or "offers100"
    std::string consumerID;  ///< the consumer whose offer list gives it
    std::string text;
    std::size_t offers;
};

struct Scenario {
    const Answer* answer;
    std::size_t inflight;
    std::size_t requests;
    std::size_t warmup;
    double seconds;
};

struct Outcome {
    std::size_t completed = 0;
    std::size_t errors = 0;
    double seconds = 0;
    std::vector<double> latenciesUs;
    std::string firstError;
};

/// Nearest-rank percentile of sorted values.
double percentile(const std::vector<double>& sorted, double fraction) {
    if (sorted.empty()) {
        return 0;
    }
    auto rank = static_cast<std::size_t>(std::ceil(fraction * static_cast<double>(sorted.size())));
    rank = std::clamp<std::size_t>(rank, 1, sorted.size());
    return sorted[rank - 1];
}

std::string resultLine(const std::string& client, const Scenario& scenario, int repetition, Outcome outcome) {
    std::sort(outcome.latenciesUs.begin(), outcome.latenciesUs.end());
    char line[512];
    std::snprintf(line, sizeof line,
                  "e2e client=%s answer=%s inflight=%zu rep=%d requests=%zu errors=%zu seconds=%.4f rps=%.1f "
                  "p50_us=%.1f p99_us=%.1f",
                  client.c_str(), scenario.answer->name.c_str(), scenario.inflight, repetition, outcome.completed,
                  outcome.errors, outcome.seconds,
                  outcome.seconds > 0 ? static_cast<double>(outcome.completed) / outcome.seconds : 0.0,
                  percentile(outcome.latenciesUs, 0.50), percentile(outcome.latenciesUs, 0.99));
    return line;
}

/// Keeps `inflight` requests going until `requests` have been issued or the
/// time limit passed, measuring each from issue to answer. issue(done) starts
/// one request; the client calls done(ok, message) once when it is answered,
/// on any thread.
class ClosedLoop {
public:
    using Done = std::function<void(bool ok, const std::string& message)>;
    using Issue = std::function<void(Done done)>;

    ClosedLoop(Issue issue, std::size_t inflight, std::size_t requests, double seconds)
        : issue_(std::move(issue)), inflight_(inflight), requests_(requests), seconds_(seconds) {}

    /// Runs to the end; false when the answers stopped coming (then the
    /// outcome is incomplete and the process should not continue).
    bool run(Outcome& outcome) {
        start_ = Clock::now();
        last_ = start_;
        deadline_ = start_ + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds_));
        const std::size_t first = std::min(inflight_, requests_);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            issued_ = first;
            running_ = first;
        }
        for (std::size_t index = 0; index < first; ++index) {
            issueOne();
        }
        std::unique_lock<std::mutex> lock(mutex_);
        const bool finished =
            changed_.wait_until(lock, deadline_ + std::chrono::seconds(30), [&] { return running_ == 0; });
        outcome = outcome_;
        outcome.seconds = std::chrono::duration<double>(last_ - start_).count();
        return finished;
    }

private:
    void issueOne() {
        const Clock::time_point began = Clock::now();
        issue_([this, began](bool ok, const std::string& message) {
            const Clock::time_point ended = Clock::now();
            bool another = false;
            {
                std::lock_guard<std::mutex> lock(mutex_);
                outcome_.latenciesUs.push_back(std::chrono::duration<double, std::micro>(ended - began).count());
                ++outcome_.completed;
                if (!ok) {
                    ++outcome_.errors;
                    if (outcome_.firstError.empty()) {
                        outcome_.firstError = message;
                    }
                }
                last_ = ended;
                if (issued_ < requests_ && ended < deadline_) {
                    ++issued_;
                    another = true;
                } else {
                    --running_;
                    // Notified under the lock: once it is released, run() may
                    // return and this loop go away.
                    changed_.notify_all();
                }
            }
            if (another) {
                issueOne();
            }
        });
    }

    Issue issue_;
    std::size_t inflight_;
    std::size_t requests_;
    double seconds_;
    Clock::time_point start_;
    Clock::time_point deadline_;
    Clock::time_point last_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t issued_ = 0;
    std::size_t running_ = 0;
    Outcome outcome_;
};

/// A bounded run that did not end is not something to measure around: the
/// pending callbacks still refer to the loop, so the process stops here.
[[noreturn]] void abandon(const std::string& client) {
    std::fprintf(stderr, "qvc_bench_e2e: %s: answers stopped coming; stopping\n", client.c_str());
    std::fflush(nullptr);
    std::_Exit(1);
}

Outcome runManager(int port, const Scenario& scenario) {
    auto manager = qvcbench::makeManager(QVCEnvironmentLive, nullptr, scenario.answer->consumerID);
    QVCPlatformConfiguration configuration;
    configuration.serviceRootURL = "http://127.0.0.1:" + std::to_string(port) + "/";
    configuration.connectTimeoutMs = 2000;
    configuration.totalTimeoutMs = 10000;
    configuration.maxRetries = 0;
    configuration.maxConnections = static_cast<long>(std::max<std::size_t>(scenario.inflight, 1));
    manager->setPlatformConfiguration(configuration);
    const std::size_t expected = scenario.answer->offers;
    auto issue = [manager, expected](const ClosedLoop::Done& done) {
        manager->getAllOffersWithCompletionHandler(
            [done, expected](std::optional<std::vector<std::shared_ptr<QVCOffer>>> offers,
                             QVConsumerManager::Error error, std::exception_ptr exception) {
                if (error) {
                    done(false, error->description());
                } else if (exception || !offers) {
                    done(false, "no offer list");
                } else if (offers->size() != expected) {
                    done(false, std::to_string(offers->size()) + " offers instead of " + std::to_string(expected));
                } else {
                    done(true, {});
                }
            });
    };
    Outcome warmup;
    if (!ClosedLoop(issue, scenario.inflight, scenario.warmup, scenario.seconds).run(warmup)) {
        abandon("manager");
    }
    Outcome outcome;
    if (!ClosedLoop(issue, scenario.inflight, scenario.requests, scenario.seconds).run(outcome)) {
        abandon("manager");
    }
    outcome.errors += warmup.errors;
    if (outcome.firstError.empty()) {
        outcome.firstError = warmup.firstError;
    }
    return outcome;
}

/// A libcurl multi client that only transfers: one easy handle per slot,
/// reused, so the multi handle's connections are kept alive between requests.
class RawCurlClient {
public:
    /// With decodeOffers set, each answer is decoded into offer records on
    /// this client's thread and must hold that many offers.
    RawCurlClient(const std::string& url, std::size_t inflight, const std::string& expected,
                  std::optional<std::size_t> decodeOffers)
        : expected_(expected), decodeOffers_(decodeOffers), slots_(inflight) {
        multi_ = curl_multi_init();
        curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(inflight));
        headers_ = curl_slist_append(headers_, "Accept: application/json");
        headers_ = curl_slist_append(headers_, "X-App-Id: bench-app");
        headers_ = curl_slist_append(headers_, "X-App-Key: bench-key");
        for (auto& slot : slots_) {
            slot.easy = curl_easy_init();
            curl_easy_setopt(slot.easy, CURLOPT_URL, url.c_str());
            curl_easy_setopt(slot.easy, CURLOPT_HTTPGET, 1L);
            curl_easy_setopt(slot.easy, CURLOPT_NOSIGNAL, 1L);
            curl_easy_setopt(slot.easy, CURLOPT_HTTPHEADER, headers_);
            curl_easy_setopt(slot.easy, CURLOPT_USERAGENT, "qvc_bench_e2e");
            curl_easy_setopt(slot.easy, CURLOPT_TIMEOUT_MS, 10000L);
            curl_easy_setopt(slot.easy, CURLOPT_WRITEFUNCTION, &RawCurlClient::onBody);
            curl_easy_setopt(slot.easy, CURLOPT_WRITEDATA, &slot.body);
            curl_easy_setopt(slot.easy, CURLOPT_PRIVATE, &slot);
        }
    }

    ~RawCurlClient() {
        for (auto& slot : slots_) {
            if (slot.busy) {
                curl_multi_remove_handle(multi_, slot.easy);
            }
            curl_easy_cleanup(slot.easy);
        }
        curl_multi_cleanup(multi_);
        curl_slist_free_all(headers_);
    }

    /// Sends requests until `requests` are answered or the time limit passed.
    Outcome run(std::size_t requests, double seconds) {
        Outcome outcome;
        const Clock::time_point start = Clock::now();
        const Clock::time_point deadline =
            start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
        const Clock::time_point giveUp = deadline + std::chrono::seconds(30);
        std::size_t issued = 0;
        std::size_t busy = 0;
        Clock::time_point last = start;
        for (auto& slot : slots_) {
            if (issued < requests) {
                begin(slot);
                ++issued;
                ++busy;
            }
        }
        while (busy > 0) {
            int running = 0;
            curl_multi_perform(multi_, &running);
            int left = 0;
            while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
                if (message->msg != CURLMSG_DONE) {
                    continue;
                }
                const Clock::time_point ended = Clock::now();
                Slot* slot = nullptr;
                curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &slot);
                long status = 0;
                curl_easy_getinfo(slot->easy, CURLINFO_RESPONSE_CODE, &status);
                const CURLcode result = message->data.result;
                curl_multi_remove_handle(multi_, slot->easy);
                slot->busy = false;
                --busy;
                outcome.latenciesUs.push_back(std::chrono::duration<double, std::micro>(ended - slot->began).count());
                ++outcome.completed;
                last = ended;
                const std::string fault = answerFault(*slot, result, status);
                if (!fault.empty()) {
                    ++outcome.errors;
                    if (outcome.firstError.empty()) {
                        outcome.firstError = fault;
                    }
                }
                if (issued < requests && ended < deadline) {
                    begin(*slot);
                    ++issued;
                    ++busy;
                }
            }
            if (busy > 0) {
                if (Clock::now() > giveUp) {
                    abandon("curl");
                }
                curl_multi_poll(multi_, nullptr, 0, 100, nullptr);
            }
        }
        outcome.seconds = std::chrono::duration<double>(last - start).count();
        return outcome;
    }

private:
    struct Slot {
        CURL* easy = nullptr;
        std::string body;
        Clock::time_point began;
        bool busy = false;
    };

    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* target) {
        static_cast<std::string*>(target)->append(data, size * count);
        return size * count;
    }

    /// What is wrong with a finished transfer, or nothing.
    std::string answerFault(Slot& slot, CURLcode result, long status) const {
        if (result != CURLE_OK) {
            return curl_easy_strerror(result);
        }
        const bool asExpected =
            status == 200 && slot.body.size() == expected_.size() && (expected_.size() > 16 || slot.body == expected_);
        if (!asExpected) {
            return "status " + std::to_string(status) + ", " + std::to_string(slot.body.size()) + " bytes";
        }
        if (!decodeOffers_) {
            return {};
        }
        try {
            const std::size_t offers = qvcbench::decodeOfferList(std::move(slot.body)).size();
            return offers == *decodeOffers_
                       ? std::string()
                       : std::to_string(offers) + " offers instead of " + std::to_string(*decodeOffers_);
        } catch (const std::exception& failure) {
            return failure.what();
        }
    }

    void begin(Slot& slot) {
        slot.body.clear();
        slot.began = Clock::now();
        slot.busy = true;
        curl_multi_add_handle(multi_, slot.easy);
    }

    std::string expected_;
    std::optional<std::size_t> decodeOffers_;
    CURLM* multi_ = nullptr;
    curl_slist* headers_ = nullptr;
    std::vector<Slot> slots_;
};

Outcome runCurl(int port, const Scenario& scenario, bool decode) {
    const std::string url = "http://127.0.0.1:" + std::to_string(port) + "/" +
                            qvcbench::offerListPath(scenario.answer->consumerID, qvcbench::kFacilityID);
    RawCurlClient client(url, scenario.inflight, scenario.answer->text,
                         decode ? std::optional<std::size_t>(scenario.answer->offers) : std::nullopt);
    Outcome warmup = client.run(scenario.warmup, scenario.seconds);
    Outcome outcome = client.run(scenario.requests, scenario.seconds);
    outcome.errors += warmup.errors;
    if (outcome.firstError.empty()) {
        outcome.firstError = warmup.firstError;
    }
    return outcome;
}

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) {
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
}

/// Runs the Node client against the server and takes its result line
/// ("e2e client=node ..."), which it prints in the same form as ours. Returns
/// an empty text and fills failure when it did not run or failed.
std::string runNode(const Options& options, int port, const Scenario& scenario, int repetition, std::string& failure) {
    std::ostringstream command;
    command << quoted(options.node) << ' ' << quoted(options.peers + "/e2e.js") << " --port " << port << " --consumer "
            << scenario.answer->consumerID << " --facility " << qvcbench::kFacilityID << " --answer "
            << scenario.answer->name << " --expect-offers " << scenario.answer->offers << " --inflight "
            << scenario.inflight << " --requests " << scenario.requests << " --warmup " << scenario.warmup
            << " --seconds " << scenario.seconds << " --rep " << repetition;
    FILE* pipe = popen(command.str().c_str(), "r");
    if (pipe == nullptr) {
        failure = "cannot start " + options.node;
        return {};
    }
    std::string output;
    char buffer[4096];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
        output += buffer;
    }
    const int status = pclose(pipe);
    std::string line;
    std::istringstream lines(output);
    std::string candidate;
    while (std::getline(lines, candidate)) {
        if (candidate.rfind("e2e client=node ", 0) == 0) {
            line = candidate;
        }
    }
    if (status != 0 || line.empty()) {
        failure = "the node client failed (status " + std::to_string(status) + ")";
        return line;
    }
    return line;
}

bool parseOptions(int argc, char** argv, Options& options) {
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        const bool hasValue = index + 1 < argc;
        if (!hasValue) {
            return false;
        }
        const std::string value = argv[++index];
        if (argument == "--data-dir") {
            options.dataFolder = value;
        } else if (argument == "--requests") {
            options.requests = std::stoul(value);
        } else if (argument == "--warmup") {
            options.warmup = std::stoul(value);
        } else if (argument == "--seconds") {
            options.seconds = std::stod(value);
        } else if (argument == "--repetitions") {
            options.repetitions = std::stoi(value);
        } else if (argument == "--node") {
            options.node = value;
        } else if (argument == "--peers") {
            options.peers = value;
        } else if (argument == "--clients") {
            options.clients.clear();
            std::istringstream names(value);
            std::string name;
            while (std::getline(names, name, ',')) {
                if (name != "manager" && name != "curl" && name != "curl+decode" && name != "node") {
                    return false;
                }
                options.clients.push_back(name);
            }
        } else {
            return false;
        }
    }
    // Bounded runs only: a request count and a time limit are always in force.
    return options.requests > 0 && options.requests <= 1000000 && options.seconds > 0 && options.seconds <= 120 &&
           options.repetitions > 0 && options.repetitions <= 20;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        if (!parseOptions(argc, argv, options)) {
            std::fprintf(
                stderr,
                "usage: qvc_bench_e2e [--data-dir FOLDER] [--requests N] [--warmup N] [--seconds S] "
                "[--repetitions R] [--node PATH] [--peers FOLDER] [--clients manager,curl,curl+decode,node]\n");
            return 2;
        }
    } catch (const std::exception&) {
        std::fprintf(stderr, "qvc_bench_e2e: an option's value is not a number\n");
        return 2;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);

    std::vector<Answer> answers;
    try {
        answers.push_back({"empty", kConsumerWithoutOffers, qvcbench::emptyOfferListAnswer(), 0});
        answers.push_back(
            {"offers100", kConsumerWithOffers,
             options.dataFolder.empty()
                 ? qvcbench::offerListAnswer(kOffersInAnswer)
                 : qvcbench::readFile(options.dataFolder + "/" + qvcbench::offerListFileName(kOffersInAnswer)),
             kOffersInAnswer});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvc_bench_e2e: %s\n", error.what());
        return 1;
    }

    httplib::Server server;
    // Every client keeps up to 64 connections alive, each held by one worker.
    server.new_task_queue = [] { return new httplib::ThreadPool(72); };
    server.set_keep_alive_max_count(1000000);
    server.set_tcp_nodelay(true);
    std::atomic<std::size_t> served{0};
    server.Get(R"(/lqsapi/consumers/v1/consumers/(\d+)/offers)",
               [&](const httplib::Request& request, httplib::Response& response) {
                   ++served;
                   for (const auto& answer : answers) {
                       if (request.matches[1] == answer.consumerID) {
                           response.set_content(answer.text, "application/json");
                           return;
                       }
                   }
                   response.status = 404;
                   response.set_content(R"({"httpResponseCode":404})", "application/json");
               });
    const int port = qvcbench::listenOnLoopback(server);
    if (port <= 0) {
        std::fprintf(stderr, "qvc_bench_e2e: cannot listen on 127.0.0.1\n");
        return 1;
    }
    std::thread listener([&] { server.listen_after_bind(); });
    for (int wait = 0; wait < 2000 && !server.is_running(); ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    std::size_t failures = 0;
    std::printf("e2e server=127.0.0.1:%d requests=%zu warmup=%zu seconds=%.1f repetitions=%d\n", port, options.requests,
                options.warmup, options.seconds, options.repetitions);
    std::fflush(stdout);
    for (int repetition = 1; repetition <= options.repetitions; ++repetition) {
        for (const auto& answer : answers) {
            for (std::size_t inflight : {std::size_t{1}, std::size_t{8}, std::size_t{64}}) {
                const Scenario scenario{&answer, inflight, options.requests, options.warmup, options.seconds};
                for (const auto& client : options.clients) {
                    std::string line;
                    std::string failure;
                    if (client == "node") {
                        line = runNode(options, port, scenario, repetition, failure);
                    } else {
                        Outcome outcome = client == "manager" ? runManager(port, scenario)
                                                              : runCurl(port, scenario, client == "curl+decode");
                        line = resultLine(client, scenario, repetition, outcome);
                        if (outcome.errors > 0) {
                            failure = client + ": " + outcome.firstError;
                        }
                    }
                    if (!line.empty()) {
                        std::printf("%s\n", line.c_str());
                    }
                    if (!failure.empty() || line.find(" errors=0 ") == std::string::npos) {
                        ++failures;
                        std::fprintf(stderr, "qvc_bench_e2e: %s %s inflight %zu: %s\n", client.c_str(),
                                     answer.name.c_str(), inflight, failure.empty() ? "errors" : failure.c_str());
                    }
                    std::fflush(nullptr);
                }
            }
        }
    }

    server.stop();
    listener.join();
    std::printf("e2e served=%zu failures=%zu\n", served.load(), failures);
    curl_global_cleanup();
    return failures == 0 ? 0 : 1;
}
