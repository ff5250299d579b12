#pragma once

#include <memory>

#include "QVConsumer/QVCBaseType.h"
#include "QVConsumer/QVCStateID.h"
#include "QVConsumer/QVConsumerExport.h"

/// A state of the states list. A new state owns a new key of its own; copies
/// of a state share their key, as the record holds it by reference.
struct QVCONSUMER_EXPORT QVCState : QVCBaseType {
    std::shared_ptr<QVCStateID> stateID = std::make_shared<QVCStateID>();  ///< The state's code and its country's.
};
