// Every record reader on a document parsed from the input: the first byte picks
// the reader, the rest is the answer text. A reader may refuse a document with
// QVCException; any other outcome than a record or that exception is a finding.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCProductCatagory.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "QVConsumer/QVCSalesChannel.h"

namespace {

template <typename Record>
void read(QVCAnswerValue value) {
    Record::initWithResponse(value);
}

constexpr std::array<void (*)(QVCAnswerValue), 7> readers{
    read<QVCMasterData>,         read<QVCConsumerInfo>,    read<QVCOffer>,        read<QVCProduct>,
    read<QVCReservationProduct>, read<QVCProductCatagory>, read<QVCSalesChannel>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto parsed = QVCAnswerDocument::parse(std::string(fuzzText(data + 1, size - 1)));
    if (!parsed.document) {
        return 0;
    }
    try {
        readers[data[0] % readers.size()](parsed.document->root());
    } catch (const QVCException&) {
        // A refused document: the reader's documented answer to a malformed one.
    }
    return 0;
}
