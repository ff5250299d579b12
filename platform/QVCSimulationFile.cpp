#include "platform/QVCSimulationFile.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

#include "platform/QVCErrorResponse.h"
#include "platform/QVCFileText.h"

namespace {

bool isPlaceholder(const std::string& text) {
    return text.size() >= 3 && text.front() == '{' && text.back() == '}' &&
           text.find_first_of("{}", 1) == text.size() - 1;
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (true) {
        std::size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos) {
            return parts;
        }
        start = end + 1;
    }
}

/// Path segments and query parameters ("a=b" pairs, in order) of "path?query".
std::pair<std::vector<std::string>, std::vector<std::pair<std::string, std::string>>> splitRequest(
    const std::string& pathWithQuery) {
    std::size_t mark = pathWithQuery.find('?');
    std::vector<std::pair<std::string, std::string>> query;
    if (mark != std::string::npos) {
        for (const auto& parameter : split(pathWithQuery.substr(mark + 1), '&')) {
            if (parameter.empty()) {
                continue;
            }
            std::size_t equals = parameter.find('=');
            query.emplace_back(parameter.substr(0, equals),
                               equals == std::string::npos ? std::string() : parameter.substr(equals + 1));
        }
    }
    return {split(pathWithQuery.substr(0, mark), '/'), std::move(query)};
}

class EntryReader {
public:
    EntryReader(const std::string& source, std::size_t index) : source_(source), index_(index) {}

    [[noreturn]] void fail(const std::string& key, const std::string& problem) const {
        throw QVCSimulationFile::Invalid("simulation file " + source_ + ": entry " + std::to_string(index_) +
                                         ", key \"" + key + "\": " + problem);
    }

    std::string text(const QVCJSON& object, const std::string& key) const {
        auto found = object.find(key);
        if (found == object.end()) {
            fail(key, "is missing");
        }
        if (!found->is_string() || found->get_ref<const std::string&>().empty()) {
            fail(key, "must be a non-empty text, not " + std::string(found->type_name()));
        }
        return found->get<std::string>();
    }

    void checkPattern(const std::string& path) const {
        if (path.front() == '/') {
            fail("path", "must not start with \"/\" (paths are relative to the service root)");
        }
        for (const auto& segment : split(path.substr(0, path.find('?')), '/')) {
            if (segment.find_first_of("{}") != std::string::npos && !isPlaceholder(segment)) {
                fail("path", "segment \"" + segment + "\" must be either literal or a whole {placeholder}");
            }
        }
    }

    template <typename Answer>
    Answer answer(const QVCJSON& object, const std::string& key) const {
        if (!object.is_object()) {
            fail(key, "must be an object, not " + std::string(object.type_name()));
        }
        static const std::set<std::string> known = {"status", "headers", "body"};
        for (const auto& member : object.items()) {
            if (!known.count(member.key())) {
                fail(key + "." + member.key(), "is not a key of an answer (status, headers, body)");
            }
        }
        Answer answer;
        if (auto status = object.find("status"); status != object.end()) {
            if (!status->is_number_integer() || *status < 100 || *status > 599) {
                fail(key + ".status", "must be a whole number from 100 to 599");
            }
            answer.status = status->get<int>();
        }
        if (auto headers = object.find("headers"); headers != object.end()) {
            if (!headers->is_object()) {
                fail(key + ".headers", "must be an object of texts");
            }
            for (const auto& header : headers->items()) {
                if (!header.value().is_string()) {
                    fail(key + ".headers." + header.key(), "must be a text");
                }
                answer.headers[header.key()] = header.value().template get<std::string>();
            }
        }
        if (auto body = object.find("body"); body != object.end()) {
            answer.body = QVCAnswerDocument::fromJSON(*body).document;
        }
        return answer;
    }

private:
    const std::string& source_;
    std::size_t index_;
};

}  // namespace

std::shared_ptr<QVCSimulationFile> QVCSimulationFile::load(const std::string& path) {
    std::string text;
    try {
        text = QVCFileText::read(path);
    } catch (const QVCFileText::Unreadable& unreadable) {
        throw Invalid(std::string("simulation file ") + unreadable.what());
    }
    auto parsed = QVCAnswerDocument::parse(std::move(text));
    if (!parsed.document) {
        throw Invalid("simulation file \"" + path + "\" is not JSON: " + parsed.error);
    }
    return fromDocument(QVCAnswerDocument::toJSON(parsed.document->root()), "\"" + path + "\"");
}

std::shared_ptr<QVCSimulationFile> QVCSimulationFile::fromDocument(const QVCJSON& document, const std::string& source) {
    auto file = std::shared_ptr<QVCSimulationFile>(new QVCSimulationFile(source));
    auto entries = document.is_object() ? document.find("entries") : document.end();
    if (!document.is_object() || entries == document.end() || !entries->is_array()) {
        throw Invalid("simulation file " + source + ": must be an object whose \"entries\" is an array");
    }
    static const std::set<std::string> known = {"method", "path", "answer", "answers", "afterLast", "comment"};
    for (std::size_t index = 0; index < entries->size(); ++index) {
        const QVCJSON& object = (*entries)[index];
        EntryReader reader(source, index);
        if (!object.is_object()) {
            reader.fail("", "an entry must be an object, not " + std::string(object.type_name()));
        }
        for (const auto& member : object.items()) {
            if (!known.count(member.key())) {
                reader.fail(member.key(), "is not a key of an entry");
            }
        }
        Entry entry;
        entry.method = reader.text(object, "method");
        if (entry.method != "GET" && entry.method != "POST") {
            reader.fail("method", "must be \"GET\" or \"POST\", not \"" + entry.method + "\"");
        }
        std::string path = reader.text(object, "path");
        reader.checkPattern(path);
        std::tie(entry.segments, entry.query) = splitRequest(path);

        bool one = object.contains("answer");
        bool many = object.contains("answers");
        if (one == many) {
            reader.fail("answer", "an entry needs exactly one of \"answer\" and \"answers\"");
        }
        if (one) {
            entry.answers.push_back(reader.answer<Answer>(object.at("answer"), "answer"));
        } else {
            const QVCJSON& list = object.at("answers");
            if (!list.is_array() || list.empty()) {
                reader.fail("answers", "must be a non-empty array of answers");
            }
            for (std::size_t i = 0; i < list.size(); ++i) {
                entry.answers.push_back(reader.answer<Answer>(list[i], "answers[" + std::to_string(i) + "]"));
            }
        }
        if (object.contains("afterLast")) {
            const QVCJSON& after = object.at("afterLast");
            if (after != "repeatLast" && after != "cycle") {
                reader.fail("afterLast", "must be \"repeatLast\" or \"cycle\"");
            }
            entry.cycle = after == "cycle";
        }
        file->entries_.push_back(std::move(entry));
    }
    return file;
}

std::optional<std::size_t> QVCSimulationFile::match(const std::string& method, const std::string& pathWithQuery) const {
    auto [segments, query] = splitRequest(pathWithQuery);
    std::optional<std::size_t> best;
    std::tuple<std::size_t, std::size_t, std::size_t> bestScore;
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        const Entry& entry = entries_[index];
        if (entry.method != method || entry.segments.size() != segments.size()) {
            continue;
        }
        std::size_t literalSegments = 0;
        bool matches = true;
        for (std::size_t i = 0; matches && i < segments.size(); ++i) {
            if (isPlaceholder(entry.segments[i])) {
                continue;
            }
            matches = entry.segments[i] == segments[i];
            ++literalSegments;
        }
        std::size_t literalValues = 0;
        for (const auto& parameter : entry.query) {
            if (!matches) {
                break;
            }
            auto given = std::find_if(query.begin(), query.end(),
                                      [&](const auto& pair) { return pair.first == parameter.first; });
            if (given == query.end()) {
                matches = false;
            } else if (!isPlaceholder(parameter.second)) {
                matches = given->second == parameter.second;
                ++literalValues;
            }
        }
        if (!matches) {
            continue;
        }
        auto score = std::make_tuple(literalSegments, literalValues, entry.query.size());
        if (!best || score > bestScore) {
            best = index;
            bestScore = score;
        }
    }
    return best;
}

QVCResponse QVCSimulationFile::answer(const std::string& method, const std::string& pathWithQuery) {
    auto index = match(method, pathWithQuery);
    if (!index) {
        return QVCResponse(std::nullopt, {},
                           QVCErrorResponse::initWithErrorMessages(
                               {"simulation file " + source_ + " has no answer for " + method + " " + pathWithQuery}));
    }
    Answer chosen;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        Entry& entry = entries_[*index];
        std::size_t call = entry.calls++;
        std::size_t count = entry.answers.size();
        chosen = entry.answers[entry.cycle ? call % count : std::min(call, count - 1)];
    }
    std::shared_ptr<QVCErrorResponse> error;
    if (chosen.status >= 400) {
        error = QVCErrorResponse::initWithErrorMessages(
            {method + " " + pathWithQuery + ": the service answered with status " + std::to_string(chosen.status) +
             " (simulated)"},
            QVCErrorResponse::Kind::HTTPStatus, chosen.status);
    }
    return QVCResponse(std::move(chosen.body), std::move(chosen.headers), std::move(error));
}
