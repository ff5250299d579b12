// The simulation-file loader on the input as file text, then the requests of
// the library against whatever it accepted. The loader may refuse a file with
// QVCSimulationFile::Invalid; any other outcome is a finding.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCSimulationFile.h"

namespace {

/// One request of each shape the library sends, each asked twice so that
/// answer sequences advance.
constexpr std::array<std::array<const char*, 2>, 10> requests{{
    {"GET", "lqsapi/consumers/v1/data"},
    {"GET", "lqsapi/consumers/v1/consumer/jdoe/authenticate"},
    {"POST", "lqsapi/consumers/v1/consumer"},
    {"GET", "lqsapi/consumers/v1/consumer/1001/balance/loyalty"},
    {"GET", "lqsapi/consumers/v1/consumers/1001/offers?facilityId=1"},
    {"GET", "lqsapi/consumers/v1/consumers/1001/offers/501"},
    {"GET", "lqsapi/consumers/v1/consumers/1001/offers?offerCode=SAVE10"},
    {"POST", "lqsapi/consumers/v1/consumers/1001/offers/9001/redeems"},
    {"POST", "lqsapi/consumers/v1/consumer/1001/device"},
    {"GET", "lqsapi/consumers/v1/consumers/1001/offers?offerCode=a&facilityId=1"},
}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto parsed = QVCAnswerDocument::parse(std::string(fuzzText(data, size)));
    if (!parsed.document) {
        return 0;
    }
    std::shared_ptr<QVCSimulationFile> file;
    try {
        file = QVCSimulationFile::fromDocument(QVCAnswerDocument::toJSON(parsed.document->root()), "fuzz input");
    } catch (const QVCSimulationFile::Invalid&) {
        return 0;
    }
    for (const auto& [method, path] : requests) {
        const auto chosen = file->match(method, path);
        if (chosen && *chosen >= file->entryCount()) {
            fuzzFinding("a match outside the file's entries");
        }
        file->answer(method, path);
        file->answer(method, path);
    }
    return 0;
}
