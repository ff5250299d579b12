#include "QVConsumer/QVCContactInfo.h"
