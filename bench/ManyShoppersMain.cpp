// qvc_bench_shoppers: many shoppers in one process. For each number of
// managers N and each number of delivery threads, a fresh process creates N
// managers the way the README shows (one per shopper, live environment, the
// default handler, the service root set with setPlatformConfiguration), asks
// each for its offer list once, all at the same time, and waits for every
// answer (bounded by --seconds). One line per case:
//   shoppers server=own managers=1000 delivery=1 answered=1000 failed=0
//       seconds=0.412 rps=2427.2 threads_idle=0 threads_peak=2
//       idle_B_per_manager=420 after_B_per_manager=980 rss_MiB=14.1
// threads_* count the threads the managers added to the process (before any
// request, and the most seen while answering); idle_B_per_manager is the
// resident memory the managers added before any request, divided by N;
// after_B_per_manager the same once every answer arrived.
//
// The server is either the service at --service URL (qvconsumer-service,
// started by scripts/bench.sh) or, without it, this program's own cpp-httplib
// server on 127.0.0.1 answering every offer list with --offers generated
// offers. The exit status is 1 when any request failed or a case did not end.
//
//   qvc_bench_shoppers [--service URL] [--counts 1,100,1000,10000]
//                      [--delivery 1,2] [--offers 10] [--seconds 120]

#include <httplib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <mutex>
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

struct Options {
    std::string serviceURL;
    std::vector<std::size_t> counts = {1, 100, 1000, 10000};
    std::vector<std::size_t> deliveryThreads = {1, 2};
    std::size_t offers = 10;
    double seconds = 120;
};

struct Case {
    std::size_t managers;
    std::size_t deliveryThreads;
};

/// What the answers of one case came to.
struct Tally {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t answered = 0;
    std::size_t failed = 0;
    std::string firstError;
};

std::vector<std::size_t> parseCounts(const std::string& text) {
    std::vector<std::size_t> counts;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        counts.push_back(std::stoul(text.substr(start, comma - start)));
        start = comma + 1;
    }
    return counts;
}

Options parseOptions(int argc, char** argv) {
    Options options;
    for (int index = 1; index + 1 < argc; index += 2) {
        const std::string name = argv[index];
        const std::string value = argv[index + 1];
        if (name == "--service") {
            options.serviceURL = value;
        } else if (name == "--counts") {
            options.counts = parseCounts(value);
        } else if (name == "--delivery") {
            options.deliveryThreads = parseCounts(value);
        } else if (name == "--offers") {
            options.offers = std::stoul(value);
        } else if (name == "--seconds") {
            options.seconds = std::stod(value);
        } else {
            throw std::runtime_error("unknown option " + name);
        }
    }
    if (argc % 2 == 0) {
        throw std::runtime_error(std::string("option ") + argv[argc - 1] + " needs a value");
    }
    return options;
}

/// The number of threads of this process, from /proc/self/status.
long threadCount() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, 8, "Threads:") == 0) {
            return std::stol(line.substr(8));
        }
    }
    return 0;
}

/// Workers of the own server: one per connection the managers keep open
/// (maxConnections, 8 by default).
constexpr int kServerThreads = 8;

/// This program's own server: every offer list is the same generated answer.
class OwnServer {
public:
    explicit OwnServer(std::size_t offers) : answer_(qvcbench::offerListAnswer(offers)) {
        server_.new_task_queue = [] { return new httplib::ThreadPool(kServerThreads); };
        server_.set_keep_alive_max_count(1000000);
        server_.set_tcp_nodelay(true);
        server_.Get(R"(/lqsapi/consumers/v1/consumers/[^/]+/offers)",
                    [this](const httplib::Request&, httplib::Response& response) {
                        response.set_content(answer_, "application/json");
                    });
        port_ = qvcbench::listenOnLoopback(server_);
        if (port_ <= 0) {
            throw std::runtime_error("the benchmark server could not listen on 127.0.0.1");
        }
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        // Ready once listening with all its workers started, so that they do
        // not count as threads of the managers.
        const long threadsReady = threadCount() + 1 + kServerThreads;
        for (int wait = 0; wait < 2000 && (!server_.is_running() || threadCount() < threadsReady); ++wait) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ~OwnServer() {
        server_.stop();
        thread_.join();
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

private:
    std::string answer_;
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
};

std::vector<std::shared_ptr<QVConsumerManager>> makeShoppers(const std::string& url, const Case& shoppers) {
    QVCPlatformConfiguration configuration;
    configuration.serviceRootURL = url;
    configuration.connectTimeoutMs = 5000;
    configuration.totalTimeoutMs = 60000;
    configuration.deliveryThreads = static_cast<int>(shoppers.deliveryThreads);
    std::vector<std::shared_ptr<QVConsumerManager>> managers;
    managers.reserve(shoppers.managers);
    for (std::size_t index = 0; index < shoppers.managers; ++index) {
        auto manager = qvcbench::makeManager(QVCEnvironmentLive);
        manager->setPlatformConfiguration(configuration);
        managers.push_back(std::move(manager));
    }
    return managers;
}

void askForOffers(QVConsumerManager& manager, const std::shared_ptr<Tally>& tally) {
    manager.getAllOffersWithCompletionHandler([tally](std::optional<std::vector<std::shared_ptr<QVCOffer>>> offers,
                                                      QVConsumerManager::Error error, std::exception_ptr exception) {
        std::lock_guard<std::mutex> lock(tally->mutex);
        ++tally->answered;
        if (error || exception || !offers) {
            ++tally->failed;
            if (tally->firstError.empty()) {
                tally->firstError = error ? error->description() : "no offer list";
            }
        }
        tally->changed.notify_all();
    });
}

/// Waits until `expected` answers arrived or the deadline passed, sampling
/// the thread count meanwhile; returns whether all arrived.
bool awaitAnswers(Tally& tally, std::size_t expected, Clock::time_point deadline, long& threadsPeak) {
    std::unique_lock<std::mutex> lock(tally.mutex);
    while (tally.answered < expected && Clock::now() < deadline) {
        tally.changed.wait_for(lock, std::chrono::milliseconds(2));
        lock.unlock();
        threadsPeak = std::max(threadsPeak, threadCount());
        lock.lock();
    }
    return tally.answered >= expected;
}

std::string caseLine(const Options& options, const Case& shoppers, const Tally& tally, double seconds, long threadsIdle,
                     long threadsPeak, double idleBytes, double afterBytes) {
    const double perManager = static_cast<double>(shoppers.managers);
    char line[512];
    std::snprintf(line, sizeof line,
                  "shoppers server=%s managers=%zu delivery=%zu answered=%zu failed=%zu seconds=%.3f rps=%.1f "
                  "threads_idle=%ld threads_peak=%ld idle_B_per_manager=%.0f after_B_per_manager=%.0f rss_MiB=%.1f",
                  options.serviceURL.empty() ? "own" : "service", shoppers.managers, shoppers.deliveryThreads,
                  tally.answered, tally.failed, seconds,
                  seconds > 0 ? static_cast<double>(tally.answered) / seconds : 0, threadsIdle, threadsPeak,
                  idleBytes / perManager, afterBytes / perManager,
                  static_cast<double>(qvcbench::readProcessMemory().residentKiB) / 1024.0);
    return line;
}

/// Runs one case in this process and prints its line; returns the exit status.
int runCase(const Options& options, const Case& shoppers) {
    std::unique_ptr<OwnServer> server;
    if (options.serviceURL.empty()) {
        server = std::make_unique<OwnServer>(options.offers);
    }
    const std::string url = server ? server->url() : options.serviceURL;
    const long threadsBefore = threadCount();
    const long rssBefore = qvcbench::readProcessMemory().residentKiB;
    auto managers = makeShoppers(url, shoppers);
    const long threadsIdle = threadCount() - threadsBefore;
    const double idleBytes = static_cast<double>(qvcbench::readProcessMemory().residentKiB - rssBefore) * 1024.0;
    auto tally = std::make_shared<Tally>();
    const Clock::time_point start = Clock::now();
    for (auto& manager : managers) {
        askForOffers(*manager, tally);
    }
    long threadsPeak = threadCount();
    const auto deadline =
        start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.seconds));
    const bool finished = awaitAnswers(*tally, managers.size(), deadline, threadsPeak);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double afterBytes = static_cast<double>(qvcbench::readProcessMemory().residentKiB - rssBefore) * 1024.0;
    std::lock_guard<std::mutex> lock(tally->mutex);
    std::printf("%s\n", caseLine(options, shoppers, *tally, seconds, threadsIdle, threadsPeak - threadsBefore,
                                 idleBytes, afterBytes)
                            .c_str());
    if (!tally->firstError.empty()) {
        std::fprintf(stderr, "qvc_bench_shoppers: first error: %s\n", tally->firstError.c_str());
    }
    std::fflush(nullptr);
    // Answers still owed at the deadline refer to the tally: end here, as a
    // bounded run that did not finish is not measured around.
    std::_Exit(finished && tally->failed == 0 ? 0 : 1);
}

/// Each case runs in a new process, so that one case's memory and threads
/// do not show in the next one's figures.
int runCaseInChild(const Options& options, const Case& shoppers) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        try {
            runCase(options, shoppers);
        } catch (const std::exception& failure) {
            std::fprintf(stderr, "qvc_bench_shoppers: %s\n", failure.what());
        }
        std::fflush(nullptr);
        std::_Exit(1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parseOptions(argc, argv);
        int status = 0;
        for (std::size_t delivery : options.deliveryThreads) {
            for (std::size_t managers : options.counts) {
                status |= runCaseInChild(options, Case{managers, delivery});
            }
        }
        return status;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "qvc_bench_shoppers: %s\n", failure.what());
        return 1;
    }
}
