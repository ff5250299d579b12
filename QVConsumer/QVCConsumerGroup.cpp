#include "QVConsumer/QVCConsumerGroup.h"
