#pragma once

#include <memory>

#include "QVConsumer/QVCBaseType.h"
#include "QVConsumer/QVCStateID.h"

/// A state of the states list. A new state owns a new key of its own; copies
/// of a state share their key, as the record holds it by reference.
struct QVCState : QVCBaseType {
    std::shared_ptr<QVCStateID> stateID = std::make_shared<QVCStateID>();
};
