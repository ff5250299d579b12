#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qvcbench {

/// The seed every benchmark answer is made from unless another one is asked for.
constexpr std::uint64_t kDefaultSeed = 0x5156434245u;

/// The offer-list sizes the benchmarks measure.
constexpr std::size_t kOfferListSizes[] = {100, 1000, 10000};

/// Writes the text of an offer-list answer as the service sends it: a compact
/// JSON array of offer entries ({"consumerOfferId", "offerCode", "offer": {...}}).
///
/// The entries are meant to look like real traffic: names and descriptions
/// with non-ASCII characters (sometimes sent as \u escapes, emoji as surrogate
/// pairs), quotes and line breaks inside texts, ids and limits sent as text in
/// most entries and as JSON numbers in some, JSON nulls and missing optional
/// keys, one to three associated products per offer, and now and then an
/// image address with escaped slashes.
///
/// The text depends only on offers and seed: the same arguments give the same
/// bytes on every machine and every run, and the answer of n entries is the
/// first n entries of any longer answer made from the same seed.
std::string offerListAnswer(std::size_t offers, std::uint64_t seed = kDefaultSeed);

/// The answer of a consumer without offers: "[]".
std::string emptyOfferListAnswer();

/// The file an answer of the given size is kept in: "offers-100.json", and
/// "offers-empty.json" for 0.
std::string offerListFileName(std::size_t offers);

}  // namespace qvcbench
