#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QVConsumer/QVCConsumerGroupType.h"
#include "QVConsumer/QVConsumerExport.h"

/// A consumer's membership of a consumer group, paired with the group's
/// reference record. For the host's own forms: the library neither creates
/// nor reads it (a consumer keeps only the codes, in consumerGroupCodes).
struct QVCONSUMER_EXPORT QVCConsumerGroup {
    std::optional<std::string> consumerGroupId = "";  ///< The membership row's id.
    bool activeFlag = true;                           ///< Whether the membership is in force.
    std::shared_ptr<QVCConsumerGroupType> groupType = std::make_shared<QVCConsumerGroupType>();  ///< The group.
};
