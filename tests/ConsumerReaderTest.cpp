#include "ConsumerTestSupport.h"
#include "QVConsumer/QVCState.h"

namespace {

std::shared_ptr<QVCConsumerInfo> read(const QVCJSON& document) {
    return QVCConsumerInfo::initWithResponse(document);
}

TEST(ConsumerReaderTest, ReadsTheFirstContactAndKeepsNoCodeLists) {
    auto info = read(consumerDocument());
    const auto& contact = *info->personalInfo->contactInfo;
    EXPECT_EQ(info->consumerID, 5150);
    EXPECT_EQ(texts(info->personalInfo->genderTypeCode, info->personalInfo->dateOfBirth), texts("2", "0704"));
    EXPECT_TRUE(info->activeAccount && info->preference->preferEmailFlag && contact.emailInfo->confirmedEmail);
    EXPECT_FALSE(info->preference->preferSmsFlag || contact.phoneInfo->confirmedPhone);  // "y" is not "Y"
    EXPECT_EQ(texts(contact.contactId, contact.addressInfo->addressId, contact.addressInfo->line2,
                    contact.addressInfo->addressTypeCode, contact.phoneInfo->phoneTypeCode),
              texts("91", "11", "Apt 2", "1", ""));
    EXPECT_EQ(texts(info->firstName, info->middleName, info->suffix, info->prefix), texts("Jane", "Q", "Jr", ""));
    EXPECT_EQ(info->loyaltyDetails->loyaltyId, "L-77");
    EXPECT_FALSE(info->consumerGroupCodes || info->merchantTypes);
    // Not the code 2, but a stable non-zero token.
    EXPECT_NE(info->preference->preferenceTypeCode, 2);
    EXPECT_NE(info->preference->preferenceTypeCode, 0);
    EXPECT_EQ(info->preference->preferenceTypeCode, read(consumerDocument())->preference->preferenceTypeCode);
}

TEST(ConsumerReaderTest, MissingBranchesReadAsAbsentNullTextFalseOrZero) {
    auto info =
        read(QVCJSON{{"consumerId", "007"}, {"contactList", {nullptr, {{"firstName", "B"}}}}, {"company", nullptr}});
    const auto& person = *info->personalInfo;
    const auto& contact = *person.contactInfo;
    EXPECT_EQ(texts(person.educationTypeCode, contact.contactId, contact.emailInfo->addressId, info->consumerTypeCode),
              texts("(null)", "(null)", "(null)", "(null)"));
    EXPECT_FALSE(info->firstName || contact.addressInfo->line1 || person.dateOfBirth ||
                 info->loyaltyDetails->loyaltyId);
    EXPECT_FALSE(info->activeAccount || info->preference->preferAppFlag || contact.emailInfo->confirmedEmail);
    EXPECT_EQ(info->preference->preferenceTypeCode, 0);
    EXPECT_EQ(info->consumerID, 7);
    EXPECT_EQ(read(QVCJSON{{"consumerId", "abc"}})->consumerID, 0);
    EXPECT_EQ(read(QVCJSON{{"consumerId", 4294967297LL}})->consumerID, 1);  // 32 bits only
}

TEST(ConsumerReaderTest, MalformedBranchesRaiseNamingTheValue) {
    const std::vector<std::pair<QVCJSON, std::string>> cases = {
        {{{"activeFlag", 1}}, "activeFlag is a number, not a string"},
        {{{"contactList", QVCJSON::array()}}, "cannot take element 0 of contactList: it holds 0 elements"},
        {{{"contactList", {{{"email", {nullptr}}}}}},
         "cannot read key \"emailAddressId\" of contactList[0].email[0]: it is null, not an object"},
        {{{"company", {nullptr}}}, "cannot read key \"companyLoyalty\" of company[0]: it is null, not an object"},
        {{{"consumerGroup", {{{"consumerGroupType", "G"}}}}},
         "cannot read key \"groupCode\" of consumerGroup[0].consumerGroupType: it is a string, not an object"},
        {{{"consumerMerchantType", {nullptr}}},
         "cannot read key \"merchantType\" of consumerMerchantType[0]: it is null, not an object"},
        // The first fault in reading order is the one reported.
        {{{"company", QVCJSON::array()}, {"contactList", QVCJSON::array()}},
         "cannot take element 0 of contactList: it holds 0 elements"},
    };
    for (const auto& [document, message] : cases) {
        const QVCJSON& malformed = document;
        EXPECT_EQ(messageOf([&] { read(malformed); }), message) << document.dump();
    }
}

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
