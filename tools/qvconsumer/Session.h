#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "Failure.h"
#include "QVConsumer/QVCCall.h"
#include "QVConsumer/QVConsumerManager.h"

/// The options every command shares.
struct GlobalOptions {
    std::string environment = "simulation";
    std::optional<std::string> serviceURL;
    /// Required in the live environment; the simulation accepts any.
    std::optional<std::string> appID;
    std::optional<std::string> appKey;
    std::int64_t companyID = 1;
    std::int64_t facilityID = 1;
    std::optional<std::string> consumerID;
    std::optional<std::string> userName;
    std::optional<std::string> simulationFile;
    std::optional<long> timeoutMs;
    bool json = false;
    /// Print each HTTP exchange to stderr.
    bool verbose = false;
};

/// One run of the tool: a configured manager and the means to wait for its
/// completions. Every failure becomes a Failure with its exit status.
class Session {
public:
    /// Refuses (Failure, ExitUsage) a configuration that cannot work.
    explicit Session(const GlobalOptions& options);

    QVConsumerManager& manager() { return *manager_; }
    const GlobalOptions& options() const { return options_; }

    /// Authenticates userName, which becomes the consumer the manager acts for.
    std::shared_ptr<QVCConsumerInfo> authenticate(const std::string& userName);
    /// Authenticates --user when given, so that the command acts for that
    /// consumer; that consumer's profile, or null without --user.
    std::shared_ptr<QVCConsumerInfo> signIn();

    /// Starts an operation with a completion of type Completion, waits for
    /// its result and returns the completion's arguments. A caught exception,
    /// an error record (unless errorsAreResults), an operation that ended
    /// without an answer (that exception, or the last error it received) or no
    /// answer in time end the command.
    template <typename Completion, typename Start>
    typename QVCCompletionTraits<Completion>::Arguments call(const std::string& what, const Start& start,
                                                             bool errorsAreResults = false) {
        const auto result = QVCCall::wait<Completion>(what, waitLimit_, start);
        checkEnding(what, result.ending(), result.error(), result.exception());
        auto arguments = QVCCompletionTraits<Completion>::argumentsOf(result);
        std::apply([&](const auto&... value) { (check(what, value, errorsAreResults), ...); }, arguments);
        return arguments;
    }

private:
    /// Failure for a call that ended otherwise than by its completion.
    void checkEnding(const std::string& what, QVCCallEnding ending, const std::shared_ptr<QVCErrorResponse>& error,
                     const std::exception_ptr& exception) const;
    static void check(const std::string& what, const std::exception_ptr& exception, bool);
    static void check(const std::string& what, const std::shared_ptr<QVCErrorResponse>& error, bool errorsAreResults);
    template <typename T>
    static void check(const std::string&, const T&, bool) {}

    GlobalOptions options_;
    std::shared_ptr<QVConsumerManager> manager_;
    std::chrono::milliseconds waitLimit_{0};
};

/// value, or Failure(ExitServiceError) "what: the service returned no noun" when it is absent.
template <typename Value>
Value returned(Value value, const std::string& what, const std::string& noun) {
    if (!value) {
        throw Failure(ExitServiceError, what + ": the service returned no " + noun);
    }
    return value;
}

/// The message of an exception that the library caught.
std::string describeException(const std::exception_ptr& exception);
