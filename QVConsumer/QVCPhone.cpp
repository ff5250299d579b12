#include "QVConsumer/QVCPhone.h"
