#include "QVConsumer/QVCMerchantType.h"
