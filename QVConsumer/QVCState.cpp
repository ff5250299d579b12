#include "QVConsumer/QVCState.h"
