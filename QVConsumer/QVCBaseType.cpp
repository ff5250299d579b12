#include "QVConsumer/QVCBaseType.h"
