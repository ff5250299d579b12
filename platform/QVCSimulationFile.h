#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"
#include "platform/QVCPlatformExport.h"
#include "platform/QVCResponse.h"

/// A simulation file, loaded and checked: the answers that stand in for the
/// service when the platform runs in the simulation environment. The format is
/// described in docs/simulation.md.
///
/// A request is matched against every entry by method, path segments
/// (literal, or a "{placeholder}" that stands for any one segment) and query
/// parameters. Among several matches the most specific wins: more literal path
/// segments first, then more literal query values, then more query
/// parameters; a remaining tie goes to the entry that comes first in the file.
class QVCPLATFORM_EXPORT QVCSimulationFile {
public:
    /// Reads and checks the file at path. Throws QVCSimulationFile::Invalid
    /// naming the file, the entry index and the key at fault.
    static std::shared_ptr<QVCSimulationFile> load(const std::string& path);
    /// Checks an already parsed document; source names it in messages.
    static std::shared_ptr<QVCSimulationFile> fromDocument(const QVCJSON& document, const std::string& source);

    struct Invalid : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    /// The answer to a request: the chosen entry's next answer, as the live
    /// transport would give it (an error record for a status of 400 or more),
    /// or an error record naming method and path when no entry matches.
    QVCResponse answer(const std::string& method, const std::string& pathWithQuery);

    /// The index of the entry that answers the request; none when none matches.
    std::optional<std::size_t> match(const std::string& method, const std::string& pathWithQuery) const;
    std::size_t entryCount() const { return entries_.size(); }

private:
    struct Answer {
        int status = 200;
        QVCHeaders headers;
        std::shared_ptr<const QVCAnswerDocument> body;  // parsed once, shared by every answer given
    };
    struct Entry {
        std::string method;
        std::vector<std::string> segments;  // "{name}" stands for any one segment
        std::vector<std::pair<std::string, std::string>> query;
        std::vector<Answer> answers;
        bool cycle = false;
        std::size_t calls = 0;
    };

    explicit QVCSimulationFile(std::string source) : source_(std::move(source)) {}

    std::string source_;
    std::vector<Entry> entries_;
    mutable std::mutex mutex_;  // guards the call counts of the entries
};
