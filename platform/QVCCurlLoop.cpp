#include "platform/QVCCurlLoop.h"

#include <curl/curl.h>
#include <simdjson.h>

#include <strings.h>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <mutex>
#include <utility>

#include "platform/QVCHTTPOutcome.h"
#include "platform/QVCHTTPText.h"
#include "platform/QVCVersion.h"

namespace {

using Ending = QVCHTTPAttempt::Ending;

void initialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

/// Easy handles kept for the next attempt instead of being made anew.
constexpr std::size_t keptEasyHandles = 64;

Ending endingOf(CURLcode result, bool tooLarge) {
    if (tooLarge || result == CURLE_FILESIZE_EXCEEDED) {
        return Ending::TooLarge;
    }
    switch (result) {
        case CURLE_OK: return Ending::Answered;
        case CURLE_OPERATION_TIMEDOUT: return Ending::TimedOut;
        case CURLE_COULDNT_RESOLVE_HOST: return Ending::CouldNotResolve;
        case CURLE_COULDNT_CONNECT: return Ending::CouldNotConnect;
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE: return Ending::ConnectionLost;
        case CURLE_PEER_FAILED_VERIFICATION: return Ending::PeerNotVerified;
        case CURLE_SSL_CACERT_BADFILE: return Ending::CABundleUnreadable;
        default: return Ending::Other;
    }
}

}  // namespace

/// One attempt of a request on the multi handle.
struct QVCCurlLoop::Attempt {
    std::unique_ptr<QVCHTTPRequest> request;
    CURL* easy = nullptr;
    curl_slist* headers = nullptr;
    std::string received;
    QVCHeaders answerHeaders;
    std::size_t cap = 0;
    bool tooLarge = false;
    char errorText[CURL_ERROR_SIZE] = {};

    ~Attempt() { curl_slist_free_all(headers); }

    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* user) {
        auto* attempt = static_cast<Attempt*>(user);
        const std::size_t length = size * count;
        if (attempt->received.size() + length > attempt->cap) {
            attempt->tooLarge = true;
            return 0;
        }
        attempt->received.append(data, length);
        return length;
    }

    static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* user) {
        auto* attempt = static_cast<Attempt*>(user);
        const std::size_t length = size * count;
        std::string line(data, length);
        if (line.rfind("HTTP/", 0) == 0) {
            attempt->answerHeaders.clear();  // a new answer (after an interim 1xx) starts
            return length;
        }
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos && colon > 0) {
            std::string name = QVCTrim(line.substr(0, colon));
            std::string value = QVCTrim(line.substr(colon + 1));
            attempt->reserveFor(name, value);
            auto [field, inserted] = attempt->answerHeaders.emplace(std::move(name), value);
            if (!inserted) {
                field->second += ", " + value;
            }
        }
        return length;
    }

    /// Sizes the receive buffer once from Content-Length, with the room the
    /// parser reads past the text, so the answer is neither regrown nor copied.
    void reserveFor(const std::string& name, const std::string& value) {
        std::size_t length = 0;
        if (strcasecmp(name.c_str(), "Content-Length") != 0 ||
            std::from_chars(value.data(), value.data() + value.size(), length).ec != std::errc() || length > cap) {
            return;
        }
        received.reserve(length + simdjson::SIMDJSON_PADDING);
    }
};

QVCCurlLoop::QVCCurlLoop(const QVCPlatformConfiguration& configuration)
    : configuration_(configuration.bounded()), retryPolicy_(configuration_) {
    initialiseCurlOnce();
    multi_ = curl_multi_init();
    curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, configuration_.maxConnections);
    curl_multi_setopt(multi_, CURLMOPT_MAX_TOTAL_CONNECTIONS, configuration_.maxConnections);
    curl_multi_setopt(multi_, CURLMOPT_PIPELINING, CURLPIPE_MULTIPLEX);
}

QVCCurlLoop::~QVCCurlLoop() {
    for (auto& [easy, attempt] : active_) {
        curl_multi_remove_handle(multi_, easy);
        curl_easy_cleanup(easy);
    }
    active_.clear();
    for (void* easy : idle_) {
        curl_easy_cleanup(easy);
    }
    curl_multi_cleanup(multi_);
}

void QVCCurlLoop::start(std::unique_ptr<QVCTransportRequest> request, Answered& answered) {
    begin(std::unique_ptr<QVCHTTPRequest>(static_cast<QVCHTTPRequest*>(request.release())), answered);
}

void QVCCurlLoop::begin(std::unique_ptr<QVCHTTPRequest> request, Answered& answered) {
    auto attempt = std::make_unique<Attempt>();
    attempt->request = std::move(request);
    attempt->cap = configuration_.maxAnswerBytes;
    attempt->easy = takeEasy();
    for (const auto& line : attempt->request->headerLines) {
        attempt->headers = curl_slist_append(attempt->headers, line.c_str());
    }
    setOptions(*attempt);
    CURL* easy = attempt->easy;
    if (curl_multi_add_handle(multi_, easy) != CURLM_OK) {
        keepEasy(easy);
        const auto& r = *attempt->request;
        auto response = QVCResponse(
            std::nullopt, {},
            QVCErrorResponse::initWithErrorMessages({r.method + " " + r.path + ": the request could not be started"},
                                                    QVCErrorResponse::Kind::Transport));
        answered.emplace_back(std::move(attempt->request), std::move(response));
        return;
    }
    active_.emplace(easy, std::move(attempt));
}

void QVCCurlLoop::setOptions(Attempt& attempt) const {
    CURL* easy = attempt.easy;
    const QVCHTTPRequest& request = *attempt.request;
    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, configuration_.connectTimeoutMs);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, configuration_.totalTimeoutMs);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, configuration_.verifyPeer ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, configuration_.verifyHost ? 2L : 0L);
    if (configuration_.caBundlePath) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, configuration_.caBundlePath->c_str());
    }
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(configuration_.maxAnswerBytes));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, Attempt::onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &attempt);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, Attempt::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &attempt);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, attempt.errorText);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, attempt.headers);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "QVConsumer/" QVC_VERSION_TEXT);
    if (request.method == "POST") {
        // A send never rides a kept-alive connection: when such a connection
        // dies after the request went out, libcurl would send it again by
        // itself on a new one. A fresh connection is never retried that way.
        curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.bodyText.c_str());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.bodyText.size()));
    } else {
        curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
    }
}

void* QVCCurlLoop::takeEasy() {
    if (idle_.empty()) {
        return curl_easy_init();
    }
    void* easy = idle_.back();
    idle_.pop_back();
    return easy;
}

void QVCCurlLoop::keepEasy(void* easy) {
    if (idle_.size() < keptEasyHandles) {
        curl_easy_reset(easy);
        idle_.push_back(easy);
    } else {
        curl_easy_cleanup(easy);
    }
}

void QVCCurlLoop::advance(long maxWaitMs, Answered& answered) {
    startDueRetries(answered);
    int running = 0;
    curl_multi_perform(multi_, &running);
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) {
            finish(message->easy_handle, message->data.result, answered);
        }
    }
    if (!answered.empty()) {
        return;  // delivered first; the next turn waits
    }
    const long wait = waitFor(maxWaitMs);
    if (!active_.empty() || wait > 0) {
        curl_multi_poll(multi_, nullptr, 0, static_cast<int>(wait), nullptr);
    }
}

void QVCCurlLoop::wake() {
    curl_multi_wakeup(multi_);
}

long QVCCurlLoop::waitFor(long maxWaitMs) const {
    long wait = 0;
    curl_multi_timeout(multi_, &wait);
    if (wait < 0 || wait > maxWaitMs) {
        wait = maxWaitMs;
    }
    if (!waiting_.empty()) {
        auto next = std::min_element(waiting_.begin(), waiting_.end(),
                                     [](const auto& a, const auto& b) { return a->due < b->due; })
                        ->get()
                        ->due;
        auto untilDue =
            std::chrono::duration_cast<std::chrono::milliseconds>(next - QVCRetryPolicy::Clock::now()).count();
        wait = std::clamp<long>(static_cast<long>(untilDue), 0, wait);
    }
    return wait;
}

void QVCCurlLoop::startDueRetries(Answered& answered) {
    const auto now = QVCRetryPolicy::Clock::now();
    for (std::size_t i = 0; i < waiting_.size();) {
        if (waiting_[i]->due <= now) {
            auto request = std::move(waiting_[i]);
            waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(i));
            begin(std::move(request), answered);
        } else {
            ++i;
        }
    }
}

void QVCCurlLoop::finish(void* easy, int result, Answered& answered) {
    auto found = active_.find(easy);
    if (found == active_.end()) {
        return;
    }
    std::unique_ptr<Attempt> attempt = std::move(found->second);
    active_.erase(found);
    curl_multi_remove_handle(multi_, easy);
    bool mayPass = false;
    QVCResponse response = outcomeOf(*attempt, result, mayPass);
    trace(*attempt, response);
    auto& request = attempt->request;
    if (mayPass) {
        curl_off_t retryAfter = 0;
        if (curl_easy_getinfo(easy, CURLINFO_RETRY_AFTER, &retryAfter) != CURLE_OK) {
            retryAfter = 0;
        }
        const auto now = QVCRetryPolicy::Clock::now();
        if (auto due = retryPolicy_.nextAttempt(request->retries, request->deadline, now, retryAfter)) {
            request->due = *due;
            ++request->retries;
            keepEasy(easy);
            waiting_.push_back(std::move(request));
            return;
        }
    }
    keepEasy(easy);
    answered.emplace_back(std::move(request), std::move(response));
}

QVCResponse QVCCurlLoop::outcomeOf(Attempt& attempt, int result, bool& mayPass) const {
    const auto& request = *attempt.request;
    return QVCTransportWorker::computed(request.method, request.path, [&] {
        QVCHTTPAttempt seen;
        seen.method = request.method;
        seen.path = request.path;
        seen.ending = endingOf(static_cast<CURLcode>(result), attempt.tooLarge);
        curl_easy_getinfo(attempt.easy, CURLINFO_RESPONSE_CODE, &seen.status);
        curl_off_t pretransfer = 0;
        curl_easy_getinfo(attempt.easy, CURLINFO_PRETRANSFER_TIME_T, &pretransfer);
        seen.mayHaveBeenSent = pretransfer > 0;
        seen.detail = attempt.errorText[0] ? attempt.errorText : curl_easy_strerror(static_cast<CURLcode>(result));
        long osError = 0;
        curl_easy_getinfo(attempt.easy, CURLINFO_OS_ERRNO, &osError);
        seen.refused = osError == ECONNREFUSED || seen.detail.find("refused") != std::string::npos;
        seen.received = std::move(attempt.received);
        seen.headers = std::move(attempt.answerHeaders);
        auto outcome = QVCHTTPOutcome::of(std::move(seen), configuration_);
        mayPass = outcome.mayPass;
        return std::move(outcome.response);
    });
}

void QVCCurlLoop::trace(const Attempt& attempt, const QVCResponse& response) const {
    if (!configuration_.trace) {
        return;
    }
    const auto& request = *attempt.request;
    QVCHTTPExchange exchange;
    exchange.method = request.method;
    exchange.url = request.url;
    long status = 0;
    curl_off_t micros = 0, sent = 0, received = 0;
    curl_easy_getinfo(attempt.easy, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(attempt.easy, CURLINFO_TOTAL_TIME_T, &micros);
    curl_easy_getinfo(attempt.easy, CURLINFO_SIZE_UPLOAD_T, &sent);
    curl_easy_getinfo(attempt.easy, CURLINFO_SIZE_DOWNLOAD_T, &received);
    if (status > 0) {
        exchange.status = static_cast<int>(status);
    }
    if (response.error() && !response.error()->errorMessages().empty()) {
        // Without the "GET path: " the error starts with: the exchange carries the request.
        exchange.failure = response.error()->errorMessages().front();
        const std::string prefix = request.method + " " + request.path + ": ";
        if (exchange.failure.rfind(prefix, 0) == 0) {
            exchange.failure.erase(0, prefix.size());
        }
    }
    exchange.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::microseconds(micros));
    exchange.bytesSent = static_cast<std::size_t>(sent);
    exchange.bytesReceived = static_cast<std::size_t>(received);
    configuration_.trace(exchange);
}

std::vector<std::unique_ptr<QVCTransportRequest>> QVCCurlLoop::takeRequestsOf(const QVCTransportClient& client) {
    std::vector<std::unique_ptr<QVCTransportRequest>> taken;
    for (auto it = active_.begin(); it != active_.end();) {
        if (it->second->request->client.get() != &client) {
            ++it;
            continue;
        }
        curl_multi_remove_handle(multi_, it->first);
        curl_easy_cleanup(it->first);  // a half-done exchange is not reused
        taken.push_back(std::move(it->second->request));
        it = active_.erase(it);
    }
    for (auto it = waiting_.begin(); it != waiting_.end();) {
        if ((*it)->client.get() == &client) {
            taken.push_back(std::move(*it));
            it = waiting_.erase(it);
        } else {
            ++it;
        }
    }
    return taken;
}
