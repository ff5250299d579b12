#include "LoadRun.h"

#include "LoadConnection.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <algorithm>
#include <memory>

namespace qvcbench {

namespace {

constexpr auto slowByteEvery = std::chrono::milliseconds(500);

LoadClock::duration after(double seconds) {
    return std::chrono::duration_cast<LoadClock::duration>(std::chrono::duration<double>(seconds));
}

struct Client {
    LoadConnection connection;
    int index = 0;
    long sent = 0;
    bool answeredOnce = false;
};

class LoadLoop {
public:
    explicit LoadLoop(const LoadPlan& plan) : plan_(plan), epoll_(::epoll_create1(EPOLL_CLOEXEC)) {}
    ~LoadLoop() { ::close(epoll_); }

    LoadResult run();

private:
    void watch(LoadConnection& connection, void* owner);
    void startNext(Client& client);
    void onEvent(Client& client);
    void dripSlow(LoadClock::time_point now);
    bool budgetLeft() const { return started_ < plan_.maxRequests && LoadClock::now() < deadline_; }

    const LoadPlan& plan_;
    int epoll_;
    std::vector<std::unique_ptr<Client>> clients_;
    std::vector<std::unique_ptr<LoadConnection>> idle_;
    std::vector<std::unique_ptr<LoadConnection>> slow_;
    std::vector<size_t> slowSent_;
    std::string slowRequest_;
    LoadClock::time_point deadline_;
    LoadClock::time_point lastDrip_;
    LoadClock::time_point measureFrom_;
    long started_ = 0;
    LoadResult result_;
};

void LoadLoop::watch(LoadConnection& connection, void* owner) {
    epoll_event event{};
    event.events = EPOLLIN | EPOLLOUT | EPOLLET | EPOLLRDHUP;
    event.data.ptr = owner;
    ::epoll_ctl(epoll_, EPOLL_CTL_ADD, connection.fd(), &event);
}

void LoadLoop::startNext(Client& client) {
    if (!budgetLeft()) {
        return;
    }
    if (client.connection.fd() < 0) {
        if (!client.connection.open(plan_.port)) {
            ++result_.errors;
            return;
        }
        watch(client.connection, &client);
    }
    ++started_;
    client.connection.start(plan_.request(client.index, client.sent++));
    if (client.connection.flush() == LoadStep::Failed) {
        ++result_.errors;
        client.connection.close();
    }
}

void LoadLoop::onEvent(Client& client) {
    LoadConnection& connection = client.connection;
    LoadStep step = connection.flush();
    if (step != LoadStep::Failed) {
        step = connection.receive();
    }
    if (step == LoadStep::Answered) {
        const bool ok = connection.status() >= 200 && connection.status() < 300;
        client.answeredOnce = client.answeredOnce || ok;
        if (connection.startedAt() >= measureFrom_) {
            ++(ok ? result_.answered : result_.errors);
            result_.milliseconds.push_back(connection.milliseconds());
        } else {
            result_.errors += ok ? 0 : 1;
        }
        startNext(client);
    } else if (step == LoadStep::Failed) {
        result_.errors += connection.busy() ? 1 : 0;
        connection.close();
        startNext(client);
    }
}

// Each slow connection sends its request one byte every half second and is
// opened again when the service closes it.
void LoadLoop::dripSlow(LoadClock::time_point now) {
    if (now - lastDrip_ < slowByteEvery) {
        return;
    }
    lastDrip_ = now;
    for (size_t i = 0; i < slow_.size(); ++i) {
        LoadConnection& connection = *slow_[i];
        const size_t at = slowSent_[i] % slowRequest_.size();
        if (connection.fd() < 0 || ::send(connection.fd(), slowRequest_.data() + at, 1, MSG_NOSIGNAL) != 1) {
            connection.open(plan_.port);
            slowSent_[i] = 0;
            continue;
        }
        ++slowSent_[i];
    }
}

LoadResult LoadLoop::run() {
    slowRequest_ = plan_.request(-1, 0);
    for (int i = 0; i < plan_.idle; ++i) {
        idle_.push_back(std::make_unique<LoadConnection>());
        idle_.back()->open(plan_.port);
    }
    for (int i = 0; i < plan_.slow; ++i) {
        slow_.push_back(std::make_unique<LoadConnection>());
        slow_.back()->open(plan_.port);
        slowSent_.push_back(0);
    }
    const auto begin = LoadClock::now();
    measureFrom_ = begin + after(plan_.warmupSeconds);
    deadline_ = measureFrom_ + after(plan_.seconds);
    const auto hardStop = deadline_ + std::chrono::seconds(10);
    for (int i = 0; i < plan_.clients; ++i) {
        clients_.push_back(std::make_unique<Client>());
        clients_.back()->index = i;
        startNext(*clients_.back());
    }
    std::vector<epoll_event> events(1024);
    for (;;) {
        const auto now = LoadClock::now();
        const bool busy =
            std::any_of(clients_.begin(), clients_.end(), [](const auto& client) { return client->connection.busy(); });
        if ((!busy && !budgetLeft()) || now > hardStop) {
            break;
        }
        dripSlow(now);
        const int n = ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), 50);
        for (int e = 0; e < n; ++e) {
            onEvent(*static_cast<Client*>(events[e].data.ptr));
        }
    }
    result_.seconds = std::chrono::duration<double>(LoadClock::now() - measureFrom_).count();
    for (const auto& client : clients_) {
        result_.errors += client->connection.busy() ? 1 : 0;
        result_.clientsAnswered += client->answeredOnce ? 1 : 0;
    }
    return std::move(result_);
}

}  // namespace

double LoadResult::percentile(double fraction) {
    if (milliseconds.empty()) {
        return 0;
    }
    const size_t at = std::min(milliseconds.size() - 1, static_cast<size_t>(fraction * milliseconds.size()));
    std::nth_element(milliseconds.begin(), milliseconds.begin() + static_cast<long>(at), milliseconds.end());
    return milliseconds[at];
}

LoadResult runLoad(const LoadPlan& plan) {
    return LoadLoop(plan).run();
}

}  // namespace qvcbench
