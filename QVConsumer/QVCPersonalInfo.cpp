#include "QVConsumer/QVCPersonalInfo.h"
