#include "QVConsumer/OfferDetails.h"

// OfferDetails is a plain record: its defaults are its member initialisers and it has
// no behaviour of its own. This file keeps the one-source-per-class layout.
