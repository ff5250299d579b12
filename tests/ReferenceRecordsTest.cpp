#include <gtest/gtest.h>

#include <type_traits>

#include "QVConsumer/QVCConsumerGroupType.h"
#include "QVConsumer/QVCCountry.h"
#include "QVConsumer/QVCMasterType.h"
#include "QVConsumer/QVCMerchantType.h"
#include "QVConsumer/QVCState.h"

namespace {

const std::optional<std::string> kEmpty = std::string();

// The kinds differ on purpose: integers in the master data family, texts in the membership types.
static_assert(std::is_same_v<decltype(QVCMasterType::typeCode), std::int64_t>);
static_assert(std::is_same_v<decltype(QVCBaseType::sortOrder), std::int64_t>);
static_assert(std::is_same_v<decltype(QVCConsumerGroupType::sortOrder), std::string>);
static_assert(std::is_same_v<decltype(QVCMerchantType::sortOrder), std::string>);
static_assert(std::is_base_of_v<QVCBaseType, QVCState> && std::is_base_of_v<QVCBaseType, QVCCountry>);

TEST(ReferenceRecords, StartActiveWithZeroesAndEmptyNotAbsentTexts) {
    QVCMasterType type;
    EXPECT_TRUE(type.activeFlag && QVCCountry().activeFlag && QVCConsumerGroupType().activeFlag &&
                QVCMerchantType().activeFlag);
    EXPECT_EQ(type.typeCode + type.sortOrder, 0);
    EXPECT_EQ(type.typeDescription, kEmpty);
    EXPECT_EQ(QVCCountry().countryCode, kEmpty);
}

TEST(ReferenceRecords, EachNewStateOwnsItsOwnEmptyKey) {
    QVCState first;
    QVCState second;
    ASSERT_TRUE(first.stateID && second.stateID);
    EXPECT_NE(first.stateID, second.stateID);
    EXPECT_EQ(first.stateID->stateCode, kEmpty);
    EXPECT_EQ(first.stateID->countryCode, kEmpty);
}

}  // namespace
