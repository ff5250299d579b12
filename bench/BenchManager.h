#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVConsumerManager.h"

namespace qvcbench {

/// The consumer and facility every benchmark manager acts for.
constexpr const char* kConsumerID = "1001";
constexpr std::int64_t kFacilityID = 7;

/// The path getAllOffersWithCompletionHandler requests for consumerID at facility.
std::string offerListPath(const std::string& consumerID = kConsumerID, std::int64_t facility = kFacilityID);

/// A manager of company 42 acting for consumerID at kFacilityID in the given
/// environment, using handler for its requests when one is given. Throws
/// std::runtime_error when the platform refuses the configuration.
std::shared_ptr<QVConsumerManager> makeManager(std::int64_t environment,
                                               std::shared_ptr<QVCWebServiceHandler> handler = nullptr,
                                               const std::string& consumerID = kConsumerID);

/// The records getAllOffersWithCompletionHandler delivers for an answer with
/// this text, answered inside the request call. The text is handed over to
/// the answer and freed with it. Throws std::runtime_error when the
/// completion reports an error or an exception or is not called.
std::vector<std::shared_ptr<QVCOffer>> decodeOfferList(std::string answerText);

/// One line that states every value of an offer record, so that two decoders
/// can be compared byte for byte: the offer's texts, its rules and type, the
/// image address and each associated product's name, id, price and quantity,
/// separated by "|". An absent text is "~"; a text is "<bytes>:<text>", its
/// UTF-8 length first so that no character inside it can be mistaken for a
/// separator. The peers in bench/peers write the same lines.
std::string offerListing(const QVCOffer& offer);

}  // namespace qvcbench
