#include "ConsumerTestSupport.h"
#include "QVConsumer/QVCState.h"

namespace {

// Each fresh record owns its nested records: none is shared with another record.
TEST(Records, AFreshRecordOwnsItsNestedRecordsAndLists) {
    QVCConsumerInfo info, other;
    EXPECT_NE(info.personalInfo->contactInfo->addressInfo.get(), other.personalInfo->contactInfo->addressInfo.get());
    info.consumerGroupCodes->push_back("7");  // two distinct lists of the numbers 1 and 2
    EXPECT_EQ(*info.merchantTypes, std::vector<QVCJSON>({QVCJSON(1), QVCJSON(2)}));
    QVCState first, second;
    ASSERT_TRUE(first.stateID && second.stateID);
    EXPECT_NE(first.stateID, second.stateID);
}

}  // namespace
