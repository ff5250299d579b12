#include "QVConsumer/OfferDetails.h"

// OfferDetails is a plain record: its defaults are its member initialisers.
static_assert(sizeof(OfferDetails) > 0, "OfferDetails is a complete record");
