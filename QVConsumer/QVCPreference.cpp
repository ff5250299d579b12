#include "QVConsumer/QVCPreference.h"
