#include "QVConsumer/QVCCountry.h"
