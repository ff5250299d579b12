#include "QVConsumer/QVCStateID.h"
