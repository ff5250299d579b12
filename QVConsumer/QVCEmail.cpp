#include "QVConsumer/QVCEmail.h"
