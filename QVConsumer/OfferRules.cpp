#include "QVConsumer/OfferRules.h"

// OfferRules is a plain record: its defaults are its member initialisers.
static_assert(sizeof(OfferRules) > 0, "OfferRules is a complete record");
