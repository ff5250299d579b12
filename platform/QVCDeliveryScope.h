#pragma once

#include "platform/QVCPlatformExport.h"

/// Marks the current thread as one that is running answer callbacks for as
/// long as the scope lives. A transport enters one around each delivery, so
/// that code waiting for an answer can tell it would wait on the very thread
/// that has to deliver it, and fail at once instead of deadlocking.
class QVCPLATFORM_EXPORT QVCDeliveryScope {
public:
    QVCDeliveryScope();
    ~QVCDeliveryScope();
    QVCDeliveryScope(const QVCDeliveryScope&) = delete;
    QVCDeliveryScope& operator=(const QVCDeliveryScope&) = delete;

    /// Whether the calling thread is inside a delivery scope.
    static bool active();

private:
    bool outer_;
};
