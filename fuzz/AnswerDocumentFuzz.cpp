// The answer parser on raw bytes: text that is not JSON gives an error and no
// document; a document converts to an in-memory value and back unchanged.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "platform/QVCAnswerDocument.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto parsed = QVCAnswerDocument::parse(std::string(fuzzText(data, size)));
    if (!parsed.document) {
        if (parsed.error.empty()) {
            fuzzFinding("no document and no error");
        }
        return 0;
    }
    const QVCJSON value = QVCAnswerDocument::toJSON(parsed.document->root());
    const auto again = QVCAnswerDocument::fromJSON(value);
    if (!again.document || QVCAnswerDocument::toJSON(again.document->root()) != value) {
        fuzzFinding("a document does not survive a round trip through QVCJSON");
    }
    QVCAnswerDocument::find(parsed.document->root(), "entries");
    return 0;
}
