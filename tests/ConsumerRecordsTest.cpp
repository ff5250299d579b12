#include <gtest/gtest.h>

#include "ConsumerTestSupport.h"
#include "QVConsumer/QVCConsumerGroup.h"
#include "QVConsumer/QVCConsumerMerchantType.h"

namespace {

TEST(ConsumerRecordsTest, AFreshConsumerOwnsAWholeTreeOfSignUpDefaults) {
    QVCConsumerInfo info, other;
    const auto& address = *info.personalInfo->contactInfo->addressInfo;
    EXPECT_EQ(texts(address.line1, address.line2, address.line3, address.city, address.postalCode, address.stateCode,
                    address.countryCode, info.personalInfo->occupationOther, info.personalInfo->contactInfo->contactId),
              texts("33 Market St", "", "", "San Francisco", "94127", "CA", "US", "", "1"));
    EXPECT_NE(&address, other.personalInfo->contactInfo->addressInfo.get());
    info.consumerGroupCodes->push_back("7");  // two distinct lists of the numbers 1 and 2
    EXPECT_EQ(*info.merchantTypes, std::vector<QVCJSON>({QVCJSON(1), QVCJSON(2)}));
    EXPECT_TRUE(info.preference->preferSmsFlag && info.preference->preferenceTypeCode == 1);
    EXPECT_EQ(texts(QVCConsumerMerchantType().merchantType->sortOrder, QVCConsumerGroup().groupType->groupCode),
              texts("", ""));
}

}  // namespace
