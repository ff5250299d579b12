#include "QVConsumer/QVCAddress.h"
