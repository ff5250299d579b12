#include "QVConsumer/QVCException.h"

QVCException::~QVCException() = default;
