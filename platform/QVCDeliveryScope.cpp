#include "platform/QVCDeliveryScope.h"

namespace {

thread_local bool delivering = false;

}  // namespace

QVCDeliveryScope::QVCDeliveryScope() : outer_(delivering) {
    delivering = true;
}

QVCDeliveryScope::~QVCDeliveryScope() {
    delivering = outer_;
}

bool QVCDeliveryScope::active() {
    return delivering;
}
