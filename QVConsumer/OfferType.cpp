#include "QVConsumer/OfferType.h"

// OfferType is a plain record: its defaults are its member initialisers.
static_assert(sizeof(OfferType) > 0, "OfferType is a complete record");
