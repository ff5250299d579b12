#include "QVConsumer/QVCConsumerMerchantType.h"
