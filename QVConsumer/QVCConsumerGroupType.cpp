#include "QVConsumer/QVCConsumerGroupType.h"
