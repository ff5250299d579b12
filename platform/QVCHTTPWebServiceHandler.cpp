#include "platform/QVCHTTPWebServiceHandler.h"

#include <curl/curl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <random>
#include <utility>
#include <vector>

#include "platform/QVCAnswerDocument.h"
#include "platform/QVCHTTPExchange.h"
#include "platform/QVCRequestShapes.h"
#include "platform/QVCVersion.h"

namespace {

using Clock = std::chrono::steady_clock;
using Kind = QVCErrorResponse::Kind;

void initialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

bool hasLineBreak(const std::string& text) {
    return text.find_first_of("\r\n") != std::string::npos;
}

bool isLoopbackHost(std::string host) {
    std::transform(host.begin(), host.end(), host.begin(), [](unsigned char c) { return std::tolower(c); });
    return host == "localhost" || host == "[::1]" || host == "::1" || host.rfind("127.", 0) == 0;
}

/// Why no request can go to this service root; none when requests may go.
std::optional<std::string> refusalOf(const QVCPlatformConfiguration& configuration) {
    if (!configuration.problems.empty()) {
        std::string text = "the platform configuration is not usable: ";
        for (std::size_t i = 0; i < configuration.problems.size(); ++i) {
            text += (i ? "; " : "") + configuration.problems[i];
        }
        return text;
    }
    if (configuration.serviceRootURL.empty()) {
        return std::string("no service root URL is configured: set ") + QVCPlatformConfiguration::serviceURLVariable +
               " or the platform configuration's serviceRootURL";
    }
    CURLU* url = curl_url();
    char* scheme = nullptr;
    char* host = nullptr;
    std::optional<std::string> refusal;
    if (curl_url_set(url, CURLUPART_URL, configuration.serviceRootURL.c_str(), 0) != CURLUE_OK ||
        curl_url_get(url, CURLUPART_SCHEME, &scheme, 0) != CURLUE_OK ||
        curl_url_get(url, CURLUPART_HOST, &host, 0) != CURLUE_OK) {
        refusal = "the service root URL \"" + configuration.serviceRootURL + "\" is not a valid URL";
    } else if (std::strcmp(scheme, "https") != 0 && std::strcmp(scheme, "http") != 0) {
        refusal = "the service root URL must use https or http, not " + std::string(scheme);
    } else if (std::strcmp(scheme, "http") == 0 && !configuration.allowPlainHTTP && !isLoopbackHost(host)) {
        refusal = "plain http to " + std::string(host) + " is refused: use https, or set allowPlainHTTP (" +
                  QVCPlatformConfiguration::allowPlainHTTPVariable + ")";
    }
    curl_free(scheme);
    curl_free(host);
    curl_url_cleanup(url);
    return refusal;
}

std::string trim(std::string text) {
    auto blank = [](unsigned char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.back())) {
        text.pop_back();
    }
    std::size_t start = 0;
    while (start < text.size() && blank(text[start])) {
        ++start;
    }
    return text.substr(start);
}

/// text on one line: each run of white space that holds a line break becomes one space.
std::string oneLine(const std::string& text) {
    std::string line;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find_first_not_of(" \t\r\n", at), text.size());
        if (end == at) {
            line += text[at++];
            continue;
        }
        const std::string run = text.substr(at, end - at);
        line += run.find_first_of("\r\n") == std::string::npos ? run : " ";
        at = end;
    }
    return trim(line);
}

/// The service's own explanation in an error answer, when it gives one, else
/// the start of the answer's text; on one line either way.
std::string serviceMessage(const std::shared_ptr<const QVCAnswerDocument>& body, const std::string& text) {
    if (body) {
        for (const char* key : {"message", "errorMessage", "error", "description"}) {
            auto found = QVCAnswerDocument::find(body->root(), key);
            if (found && found->is_string()) {
                return oneLine(std::string(std::string_view(*found)));
            }
        }
        return {};
    }
    return oneLine(text.substr(0, 200));
}

struct Transfer {
    std::string method;
    std::string path;
    std::string url;
    std::string bodyText;
    std::vector<std::string> headerLines;
    QVCResponseCompletion completion;
    std::optional<QVCResponse> ready;  // answered without going to the network
    int retries = 0;
    Clock::time_point due;       // when a waiting retry may start
    Clock::time_point deadline;  // the end of the request's budget

    CURL* easy = nullptr;
    curl_slist* headers = nullptr;
    std::string received;
    QVCHeaders answerHeaders;
    std::size_t cap = 0;
    bool tooLarge = false;
    char errorText[CURL_ERROR_SIZE] = {};

    ~Transfer() { release(); }
    void release() {
        if (easy) {
            curl_easy_cleanup(easy);
            easy = nullptr;
        }
        if (headers) {
            curl_slist_free_all(headers);
            headers = nullptr;
        }
    }
};

std::size_t onBody(char* data, std::size_t size, std::size_t count, void* user) {
    auto* transfer = static_cast<Transfer*>(user);
    std::size_t length = size * count;
    if (transfer->received.size() + length > transfer->cap) {
        transfer->tooLarge = true;
        return 0;
    }
    transfer->received.append(data, length);
    return length;
}

std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* user) {
    auto* transfer = static_cast<Transfer*>(user);
    std::string line(data, size * count);
    if (line.rfind("HTTP/", 0) == 0) {
        transfer->answerHeaders.clear();  // a new answer (after an interim 1xx) starts
        return line.size();
    }
    std::size_t colon = line.find(':');
    if (colon != std::string::npos && colon > 0) {
        std::string name = trim(line.substr(0, colon));
        std::string value = trim(line.substr(colon + 1));
        auto [field, inserted] = transfer->answerHeaders.emplace(name, value);
        if (!inserted) {
            field->second += ", " + value;
        }
    }
    return line.size();
}

QVCResponse failure(const Transfer& transfer, const std::string& message, Kind kind,
                    std::optional<int> status = std::nullopt, std::shared_ptr<const QVCAnswerDocument> body = nullptr,
                    QVCHeaders headers = {}) {
    return QVCResponse(std::move(body), std::move(headers),
                       QVCErrorResponse::initWithErrorMessages({transfer.method + " " + transfer.path + ": " + message},
                                                               kind, status));
}

}  // namespace

struct QVCHTTPWebServiceHandler::Engine {
    QVCPlatformConfiguration configuration;
    std::optional<std::string> refusal;
    std::string rootURL;
    std::vector<std::string> credentialLines;
    QVCTransportThread thread;
    CURLM* multi = nullptr;

    std::mutex mutex;
    std::deque<std::unique_ptr<Transfer>> incoming;
    bool stopping = false;

    // Touched only on the engine's thread.
    std::map<CURL*, std::unique_ptr<Transfer>> active;
    std::vector<std::unique_ptr<Transfer>> waiting;
    std::mt19937 random{std::random_device{}()};

    Engine(QVCPlatformConfiguration given, const std::optional<std::string>& appID,
           const std::optional<std::string>& appKey)
        : configuration(given.bounded()) {
        initialiseCurlOnce();
        refusal = refusalOf(configuration);
        rootURL = configuration.serviceRootURL;
        if (!rootURL.empty() && rootURL.back() != '/') {
            rootURL += '/';
        }
        if ((appID && hasLineBreak(*appID)) || (appKey && hasLineBreak(*appKey))) {
            refusal = "the application id or key holds a line break and cannot be sent as a header";
        }
        credentialLines = {std::string(QVCPlatformConfiguration::appIDHeader) + ": " + appID.value_or(""),
                           std::string(QVCPlatformConfiguration::appKeyHeader) + ": " + appKey.value_or("")};
        multi = curl_multi_init();
        curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, configuration.maxConnections);
        curl_multi_setopt(multi, CURLMOPT_MAX_TOTAL_CONNECTIONS, configuration.maxConnections);
    }

    ~Engine() {
        for (auto& [easy, transfer] : active) {
            curl_multi_remove_handle(multi, easy);
        }
        active.clear();
        curl_multi_cleanup(multi);
    }

    void submit(std::unique_ptr<Transfer> transfer) {
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (!stopping) {
                incoming.push_back(std::move(transfer));
                curl_multi_wakeup(multi);
                return;
            }
        }
        thread.deliver(transfer->completion, QVCTransportThread::cancelled(transfer->method, transfer->path));
    }

    void start(std::unique_ptr<Transfer> transfer) {
        if (transfer->ready) {
            thread.deliver(transfer->completion, *transfer->ready);
            return;
        }
        Transfer& t = *transfer;
        t.release();
        t.received.clear();
        t.answerHeaders.clear();
        t.tooLarge = false;
        t.errorText[0] = '\0';
        t.cap = configuration.maxAnswerBytes;
        t.easy = curl_easy_init();
        for (const auto& line : t.headerLines) {
            t.headers = curl_slist_append(t.headers, line.c_str());
        }
        CURL* easy = t.easy;
        curl_easy_setopt(easy, CURLOPT_URL, t.url.c_str());
        curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
        curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, configuration.connectTimeoutMs);
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, configuration.totalTimeoutMs);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, configuration.verifyPeer ? 1L : 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, configuration.verifyHost ? 2L : 0L);
        if (configuration.caBundlePath) {
            curl_easy_setopt(easy, CURLOPT_CAINFO, configuration.caBundlePath->c_str());
        }
        curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(configuration.maxAnswerBytes));
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, &t);
        curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
        curl_easy_setopt(easy, CURLOPT_HEADERDATA, &t);
        curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, t.errorText);
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, t.headers);
        curl_easy_setopt(easy, CURLOPT_USERAGENT, "QVConsumer/" QVC_VERSION_TEXT);
        if (t.method == "POST") {
            // A send never rides a kept-alive connection: when such a connection
            // dies after the request went out, libcurl would send it again by
            // itself on a new one. A fresh connection is never retried that way.
            curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
            curl_easy_setopt(easy, CURLOPT_POST, 1L);
            curl_easy_setopt(easy, CURLOPT_POSTFIELDS, t.bodyText.c_str());
            curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(t.bodyText.size()));
        } else {
            curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
        }
        if (curl_multi_add_handle(multi, easy) != CURLM_OK) {
            thread.deliver(t.completion, failure(t, "the request could not be started", Kind::Transport));
            return;
        }
        active.emplace(easy, std::move(transfer));
    }

    /// When the next attempt may start: after an exponential back-off with
    /// jitter, or after the answer's Retry-After when that is longer. None
    /// when the wait and one more attempt would not fit in the request's
    /// budget: the request then ends with the answer it has.
    std::optional<Clock::time_point> nextAttempt(const Transfer& transfer) {
        long delay =
            std::min(configuration.retryMaxDelayMs, configuration.retryBaseDelayMs << std::min(transfer.retries, 20));
        delay = std::uniform_int_distribution<long>(delay / 2, std::max(delay / 2, delay))(random);
        const auto now = Clock::now();
        const auto attempt = std::chrono::milliseconds(configuration.totalTimeoutMs);
        const auto spare =
            std::chrono::duration_cast<std::chrono::milliseconds>(transfer.deadline - now - attempt).count();
        curl_off_t retryAfter = 0;
        if (transfer.easy && curl_easy_getinfo(transfer.easy, CURLINFO_RETRY_AFTER, &retryAfter) == CURLE_OK &&
            retryAfter > 0) {
            // Compared in seconds first: the header's value may be far too large to count in milliseconds.
            if (spare < 0 || retryAfter > spare / 1000) {
                return std::nullopt;
            }
            delay = std::max(delay, static_cast<long>(retryAfter) * 1000);
        }
        if (delay > spare) {
            return std::nullopt;
        }
        return now + std::chrono::milliseconds(delay);
    }

    /// The answer to a finished attempt, and whether another attempt may help.
    std::pair<QVCResponse, bool> outcome(Transfer& t, CURLcode result) {
        return result == CURLE_OK ? answerOutcome(t) : transferOutcome(t, result);
    }

    /// An attempt that received an answer: the answer, or the error its status
    /// or its text makes; a GET may be tried again after a transient status.
    std::pair<QVCResponse, bool> answerOutcome(Transfer& t) {
        long status = 0;
        curl_easy_getinfo(t.easy, CURLINFO_RESPONSE_CODE, &status);
        const bool success = status >= 200 && status < 300;
        std::shared_ptr<const QVCAnswerDocument> body;
        std::string parseError;
        if (!t.received.empty()) {
            // A successful answer's text is not needed once parsed; an error's may explain itself.
            auto parsed =
                success ? QVCAnswerDocument::parse(std::move(t.received)) : QVCAnswerDocument::parseCopyOf(t.received);
            body = std::move(parsed.document);
            parseError = std::move(parsed.error);
        }
        if (success) {
            if (!parseError.empty()) {
                return {failure(t, "answer is not JSON (" + parseError + ")", Kind::Transport, static_cast<int>(status),
                                nullptr, t.answerHeaders),
                        false};
            }
            return {QVCResponse(std::move(body), t.answerHeaders, nullptr), false};
        }
        std::string message = "the service answered with status " + std::to_string(status);
        std::string says = serviceMessage(body, t.received);
        if (!says.empty()) {
            message += ": " + says;
        }
        bool transient = status == 429 || status == 502 || status == 503 || status == 504;
        return {failure(t, message, Kind::HTTPStatus, static_cast<int>(status), std::move(body), t.answerHeaders),
                t.method == "GET" && transient};
    }

    /// An attempt that ended without an answer: the error, and whether another
    /// attempt may help (never for a POST that may have reached the service).
    std::pair<QVCResponse, bool> transferOutcome(Transfer& t, CURLcode result) {
        curl_off_t pretransfer = 0;
        curl_easy_getinfo(t.easy, CURLINFO_PRETRANSFER_TIME_T, &pretransfer);
        bool get = t.method == "GET";
        bool mayHaveBeenSent = pretransfer > 0;
        std::string detail = t.errorText[0] ? t.errorText : curl_easy_strerror(result);
        if (t.tooLarge || result == CURLE_FILESIZE_EXCEEDED) {
            return {failure(t, "answer larger than " + std::to_string(configuration.maxAnswerBytes) + " bytes",
                            Kind::Transport),
                    false};
        }
        if (result == CURLE_OPERATION_TIMEDOUT) {
            if (!get && mayHaveBeenSent) {
                return {failure(t,
                                "timed out after " + std::to_string(configuration.totalTimeoutMs) +
                                    " ms; the request may have reached the service: check before sending it again",
                                Kind::OutcomeUnknown),
                        false};
            }
            long limit = mayHaveBeenSent ? configuration.totalTimeoutMs : configuration.connectTimeoutMs;
            return {failure(t, "timed out after " + std::to_string(limit) + " ms", Kind::Timeout),
                    get || !mayHaveBeenSent};
        }
        if (result == CURLE_COULDNT_CONNECT || result == CURLE_COULDNT_RESOLVE_HOST) {
            long osError = 0;
            curl_easy_getinfo(t.easy, CURLINFO_OS_ERRNO, &osError);
            bool refused = osError == ECONNREFUSED || detail.find("refused") != std::string::npos;
            std::string message = result == CURLE_COULDNT_RESOLVE_HOST ? "could not resolve the service's host"
                                  : refused                            ? "connection refused"
                                                                       : "could not connect (" + detail + ")";
            return {failure(t, message, Kind::Transport), true};
        }
        if (result == CURLE_SEND_ERROR || result == CURLE_RECV_ERROR || result == CURLE_GOT_NOTHING ||
            result == CURLE_PARTIAL_FILE) {
            if (!get && mayHaveBeenSent) {
                return {failure(t,
                                "the connection was lost after the request was sent (" + detail +
                                    "); the request may have reached the service: check before sending it again",
                                Kind::OutcomeUnknown),
                        false};
            }
            return {failure(t, "the connection was lost (" + detail + ")", Kind::Transport), true};
        }
        return {certificateFailure(t, result, detail), false};
    }

    /// A failure that no other attempt mends; the certificate failures say what to check.
    QVCResponse certificateFailure(const Transfer& t, CURLcode result, const std::string& detail) const {
        std::string caBundle = std::string("caBundlePath (") + QVCPlatformConfiguration::caBundleVariable + ")";
        if (result == CURLE_PEER_FAILED_VERIFICATION) {
            return failure(t,
                           "the service's certificate could not be verified (" + detail +
                               "): check that the service root URL names a host the certificate is made for, "
                               "and if the certificate authority that signed it is not one this system trusts, "
                               "set " +
                               caBundle + " to a PEM file holding it",
                           Kind::Transport);
        }
        if (result == CURLE_SSL_CACERT_BADFILE) {
            return failure(t,
                           "the certificate authorities could not be read from " +
                               configuration.caBundlePath.value_or("the system's store") + " (" + detail + "): set " +
                               caBundle + " to a readable PEM file",
                           Kind::Transport);
        }
        return failure(t, detail, Kind::Transport);
    }

    /// Hands a finished attempt to the configuration's trace hook, if any.
    void trace(const Transfer& t, const QVCResponse& response) const {
        if (!configuration.trace) {
            return;
        }
        QVCHTTPExchange exchange;
        exchange.method = t.method;
        exchange.url = t.url;
        long status = 0;
        curl_off_t micros = 0, sent = 0, received = 0;
        curl_easy_getinfo(t.easy, CURLINFO_RESPONSE_CODE, &status);
        curl_easy_getinfo(t.easy, CURLINFO_TOTAL_TIME_T, &micros);
        curl_easy_getinfo(t.easy, CURLINFO_SIZE_UPLOAD_T, &sent);
        curl_easy_getinfo(t.easy, CURLINFO_SIZE_DOWNLOAD_T, &received);
        if (status > 0) {
            exchange.status = static_cast<int>(status);
        }
        if (response.error() && !response.error()->errorMessages().empty()) {
            // Without the "GET path: " the error starts with: the exchange carries the request.
            exchange.failure = response.error()->errorMessages().front();
            const std::string request = t.method + " " + t.path + ": ";
            if (exchange.failure.rfind(request, 0) == 0) {
                exchange.failure.erase(0, request.size());
            }
        }
        exchange.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::microseconds(micros));
        exchange.bytesSent = static_cast<std::size_t>(sent);
        exchange.bytesReceived = static_cast<std::size_t>(received);
        configuration.trace(exchange);
    }

    void finish(CURL* easy, CURLcode result) {
        auto found = active.find(easy);
        if (found == active.end()) {
            return;
        }
        std::unique_ptr<Transfer> transfer = std::move(found->second);
        active.erase(found);
        curl_multi_remove_handle(multi, easy);
        bool transient = false;
        QVCResponse response = QVCTransportThread::computed(transfer->method, transfer->path, [&] {
            auto [answer, mayPass] = outcome(*transfer, result);
            transient = mayPass;
            return answer;
        });
        trace(*transfer, response);
        if (transient && transfer->retries < configuration.maxRetries) {
            if (auto due = nextAttempt(*transfer)) {
                transfer->due = *due;
                ++transfer->retries;
                transfer->release();
                waiting.push_back(std::move(transfer));
                return;
            }
        }
        transfer->release();
        thread.deliver(transfer->completion, response);
    }

    void cancelEverything(std::deque<std::unique_ptr<Transfer>>& queued) {
        std::vector<std::unique_ptr<Transfer>> all;
        for (auto& [easy, transfer] : active) {
            curl_multi_remove_handle(multi, easy);
            all.push_back(std::move(transfer));
        }
        active.clear();
        for (auto& transfer : waiting) {
            all.push_back(std::move(transfer));
        }
        waiting.clear();
        for (auto& transfer : queued) {
            all.push_back(std::move(transfer));
        }
        queued.clear();
        for (auto& transfer : all) {
            transfer->release();
            thread.deliver(transfer->completion, QVCTransportThread::cancelled(transfer->method, transfer->path));
        }
    }

    void run() {
        while (true) {
            std::deque<std::unique_ptr<Transfer>> taken;
            bool stop;
            {
                std::lock_guard<std::mutex> lock(mutex);
                taken.swap(incoming);
                stop = stopping;
            }
            if (stop) {
                cancelEverything(taken);
                std::lock_guard<std::mutex> lock(mutex);
                if (incoming.empty()) {
                    return;
                }
                continue;
            }
            for (auto& transfer : taken) {
                start(std::move(transfer));
            }
            auto now = Clock::now();
            for (std::size_t i = 0; i < waiting.size();) {
                if (waiting[i]->due <= now) {
                    auto transfer = std::move(waiting[i]);
                    waiting.erase(waiting.begin() + static_cast<std::ptrdiff_t>(i));
                    start(std::move(transfer));
                } else {
                    ++i;
                }
            }
            int running = 0;
            curl_multi_perform(multi, &running);
            int left = 0;
            while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
                if (message->msg == CURLMSG_DONE) {
                    finish(message->easy_handle, message->data.result);
                }
            }
            long wait = 0;
            curl_multi_timeout(multi, &wait);
            if (wait < 0 || wait > 1000) {
                wait = 1000;
            }
            if (!waiting.empty()) {
                auto next = std::min_element(waiting.begin(), waiting.end(),
                                             [](const auto& a, const auto& b) { return a->due < b->due; })
                                ->get()
                                ->due;
                auto untilDue = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
                wait = std::clamp<long>(static_cast<long>(untilDue), 0, wait);
            }
            if (!active.empty() || wait > 0) {
                curl_multi_poll(multi, nullptr, 0, static_cast<int>(wait), nullptr);
            }
        }
    }
};

QVCHTTPWebServiceHandler::QVCHTTPWebServiceHandler(QVCPlatformConfiguration configuration,
                                                   std::optional<std::string> appID, std::optional<std::string> appKey)
    : engine_(std::make_shared<Engine>(std::move(configuration), appID, appKey)) {
    engine_->thread.start([engine = engine_] { engine->run(); });
}

QVCHTTPWebServiceHandler::~QVCHTTPWebServiceHandler() {
    {
        std::lock_guard<std::mutex> lock(engine_->mutex);
        engine_->stopping = true;
        curl_multi_wakeup(engine_->multi);
    }
    engine_->thread.finish();
}

void QVCHTTPWebServiceHandler::setExceptionHook(QVCTransportThread::ExceptionHook hook) {
    engine_->thread.setExceptionHook(std::move(hook));
}

void QVCHTTPWebServiceHandler::requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string&,
                                               const std::optional<QVCHeaders>& headers,
                                               const std::optional<QVCJSON>& body, std::int64_t,
                                               const std::optional<std::string>&, QVCResponseCompletion completion) {
    auto transfer = std::make_unique<Transfer>();
    transfer->method = QVCHTTPMethodName(httpMethod);
    transfer->path = path;
    transfer->completion = std::move(completion);
    transfer->deadline = Clock::now() + engine_->configuration.requestBudget();
    if (engine_->refusal) {
        transfer->ready = failure(*transfer, *engine_->refusal, Kind::General);
    } else if (httpMethod != QVCHTTPMethodGet && httpMethod != QVCHTTPMethodPost) {
        transfer->ready = failure(*transfer, "unknown httpMethod (0 reads, 1 sends)", Kind::General);
    } else if (auto checked = QVCRequestShapes::check(transfer->method, path); !checked.target) {
        transfer->path = checked.shape;  // the refused path is not repeated, not even on cancellation
        transfer->ready = checked.refusal(transfer->method);
    } else {
        transfer->url = engine_->rootURL + *checked.target;
        transfer->headerLines = {"Accept: application/json", "Expect:"};
        transfer->headerLines.insert(transfer->headerLines.end(), engine_->credentialLines.begin(),
                                     engine_->credentialLines.end());
        if (httpMethod == QVCHTTPMethodPost) {
            transfer->headerLines.emplace_back("Content-Type: application/json");
            transfer->bodyText = body ? body->dump(-1, ' ', false, QVCJSON::error_handler_t::replace) : "{}";
        }
        for (const auto& [name, value] : headers.value_or(QVCHeaders())) {
            if (name.empty() || hasLineBreak(name) || hasLineBreak(value) || name.find(':') != std::string::npos) {
                transfer->ready =
                    failure(*transfer, "the header field \"" + trim(name) + "\" cannot be sent", Kind::General);
                break;
            }
            transfer->headerLines.push_back(name + ": " + value);
        }
    }
    engine_->submit(std::move(transfer));
}
