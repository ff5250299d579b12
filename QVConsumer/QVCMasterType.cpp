#include "QVConsumer/QVCMasterType.h"
