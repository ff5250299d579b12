#include <gtest/gtest.h>

#include "QVConsumer/QVCConsumerGroup.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCConsumerMerchantType.h"

namespace {

TEST(ConsumerRecordsTest, AFreshConsumerOwnsTheWholeTreeWithItsDefaults) {
    QVCConsumerInfo info;
    EXPECT_EQ(info.accountStatusCode, "1");
    EXPECT_EQ(info.consumerTypeCode, "1");
    EXPECT_TRUE(info.activeAccount);
    EXPECT_EQ(info.consumerID, 0);
    EXPECT_FALSE(info.firstName);
    ASSERT_TRUE(info.personalInfo && info.personalInfo->contactInfo && info.preference && info.loyaltyDetails);
    const auto& person = *info.personalInfo;
    EXPECT_EQ(person.consumerName, "");
    EXPECT_EQ(person.dateOfBirth, "");
    EXPECT_EQ(person.occupationOther, "");
    for (const auto& code : {person.genderTypeCode, person.maritalStatusTypeCode, person.incomeRangeTypeCode,
                             person.educationTypeCode, person.ageRangeTypeCode, person.occupationTypeCode}) {
        EXPECT_EQ(code, "1");
    }
    const auto& contact = *person.contactInfo;
    ASSERT_TRUE(contact.emailInfo && contact.phoneInfo && contact.addressInfo);
    EXPECT_EQ(contact.emailInfo->address, "");
    EXPECT_TRUE(contact.emailInfo->confirmedEmail && contact.emailInfo->activeEmail);
    EXPECT_EQ(contact.phoneInfo->phoneTypeCode, "1");
    const auto& address = *contact.addressInfo;
    EXPECT_EQ(std::vector<std::optional<std::string>>({address.line1, address.line2, address.line3, address.city,
                                                       address.postalCode, address.stateCode, address.countryCode}),
              std::vector<std::optional<std::string>>({"33 Market St", "", "", "San Francisco", "94127", "CA", "US"}));
    EXPECT_TRUE(info.preference->preferEmailFlag && info.preference->preferSmsFlag && info.preference->preferAppFlag);
    EXPECT_EQ(info.preference->preferenceTypeCode, 1);
    EXPECT_EQ(info.loyaltyDetails->loyaltyId, "");
    EXPECT_EQ(info.loyaltyDetails->pointType, 0);
}

TEST(ConsumerRecordsTest, CodeListsAreTwoDistinctListsOfNumbers) {
    QVCConsumerInfo info;
    ASSERT_TRUE(info.consumerGroupCodes && info.merchantTypes);
    EXPECT_EQ(*info.consumerGroupCodes, std::vector<QVCJSON>({QVCJSON(1), QVCJSON(2)}));
    EXPECT_TRUE(info.consumerGroupCodes->at(0).is_number_integer());
    info.consumerGroupCodes->push_back("7");
    EXPECT_EQ(*info.merchantTypes, std::vector<QVCJSON>({QVCJSON(1), QVCJSON(2)}));
    QVCConsumerInfo other;
    EXPECT_NE(other.personalInfo, info.personalInfo);
    EXPECT_NE(other.personalInfo->contactInfo->addressInfo, info.personalInfo->contactInfo->addressInfo);
}

TEST(ConsumerRecordsTest, MembershipRecordsAndPointTypeNames) {
    QVCConsumerGroup group;
    QVCConsumerMerchantType merchant;
    ASSERT_TRUE(group.groupType && merchant.merchantType);
    EXPECT_TRUE(group.activeFlag && group.groupType->activeFlag && merchant.merchantType->activeFlag);
    EXPECT_EQ(group.groupType->sortOrder, "");
    EXPECT_EQ(merchant.merchantType->merchantTypeCode, "");
    EXPECT_STREQ(QVCLoyaltyPointType_toString[QVCLoyaltyPointTypeRedeemed], "redeemed");
    EXPECT_STREQ(QVCLoyaltyPointType_toString[QVCLoyaltyPointTypeEarned], "earned");
    EXPECT_STREQ(QVCLoyaltyPointType_toString[QVCLoyaltyPointTypeBalance], "balance");
}

}  // namespace
