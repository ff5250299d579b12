#include <gtest/gtest.h>

#include <type_traits>

#include "ConsumerTestSupport.h"
#include "QVConsumer/QVCConsumerGroupType.h"
#include "QVConsumer/QVCCountry.h"
#include "QVConsumer/QVCMasterType.h"
#include "QVConsumer/QVCMerchantType.h"
#include "QVConsumer/QVCState.h"

namespace {

// Texts on purpose, where the master data family holds integers.
static_assert(std::is_same_v<decltype(QVCConsumerGroupType::sortOrder), std::string>);

TEST(ReferenceRecords, StartActiveWithZeroesEmptyNotAbsentTextsAndAStateKeyOfTheirOwn) {
    QVCMasterType type;
    QVCState first, second;
    EXPECT_TRUE(type.activeFlag && QVCCountry().activeFlag && QVCConsumerGroupType().activeFlag &&
                QVCMerchantType().activeFlag);
    EXPECT_EQ(type.typeCode + type.sortOrder, 0);
    ASSERT_TRUE(first.stateID && second.stateID);
    EXPECT_NE(first.stateID, second.stateID);
    EXPECT_EQ(
        texts(type.typeDescription, QVCCountry().countryCode, first.stateID->stateCode, first.stateID->countryCode),
        texts("", "", "", ""));
}

}  // namespace
