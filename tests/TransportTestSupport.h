#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "TestSupport.h"
#include "platform/QVCWebServiceHandler.h"

/// Collects the answers a transport delivers, with the thread each came on,
/// and lets a test wait for them with a bound.
class AnswerCollector {
public:
    QVCResponseCompletion completion() {
        return [this](const QVCResponse& response) {
            std::lock_guard<std::mutex> lock(mutex_);
            answers_.push_back(response);
            threads_.push_back(std::this_thread::get_id());
            changed_.notify_all();
        };
    }

    /// Waits until count answers came; false when they did not within the bound.
    bool waitFor(std::size_t count, std::chrono::milliseconds bound = std::chrono::seconds(10)) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, bound, [&] { return answers_.size() >= count; });
    }

    /// The only answer, after waiting for it.
    QVCResponse single() {
        EXPECT_TRUE(waitFor(1)) << "no answer came";
        std::lock_guard<std::mutex> lock(mutex_);
        EXPECT_EQ(answers_.size(), 1u);
        return answers_.empty() ? QVCResponse() : answers_.front();
    }

    std::vector<QVCResponse> answers() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return answers_;
    }
    std::vector<std::thread::id> threads() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return threads_;
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<QVCResponse> answers_;
    std::vector<std::thread::id> threads_;
};

/// The error kind of an answer, or General with a failed expectation when it has none.
inline QVCErrorResponse::Kind kindOf(const QVCResponse& response) {
    EXPECT_TRUE(response.error()) << "the answer carries no error";
    return response.error() ? response.error()->kind() : QVCErrorResponse::Kind::General;
}

/// Sends a GET of path for the consumers context, without headers or body,
/// with simulateFile as the simulation file.
inline void sendGet(QVCWebServiceHandler& handler, const std::string& path,
                    const std::optional<std::string>& simulateFile, QVCResponseCompletion completion) {
    handler.requestWithPath(path, 0, "consumers", std::nullopt, std::nullopt, 0, simulateFile, std::move(completion));
}

inline std::string describe(const QVCResponse& response) {
    return response.error() ? response.error()->description() : std::string("(no error)");
}
