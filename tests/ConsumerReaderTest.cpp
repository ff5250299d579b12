#include <gtest/gtest.h>

#include "ConsumerTestSupport.h"

namespace {

std::shared_ptr<QVCConsumerInfo> read(const QVCJSON& document) {
    return QVCConsumerInfo::initWithResponse(document);
}

TEST(ConsumerReaderTest, ReadsTheFirstContactAndTheTopLevelValues) {
    auto info = read(consumerDocument());
    const auto& person = *info->personalInfo;
    const auto& contact = *person.contactInfo;
    EXPECT_EQ(info->consumerID, 5150);
    EXPECT_EQ(person.consumerName, "doc-user");
    EXPECT_EQ(person.genderTypeCode, "2");  // a number becomes its text
    EXPECT_EQ(person.dateOfBirth, "0704");
    EXPECT_EQ(person.occupationOther, "juggler");
    EXPECT_EQ(info->accountStatusCode, "A");
    EXPECT_TRUE(info->activeAccount);
    EXPECT_EQ(contact.contactId, "91");
    EXPECT_EQ(contact.addressInfo->addressId, "11");
    EXPECT_EQ(contact.addressInfo->line2, "Apt 2");
    EXPECT_EQ(contact.addressInfo->addressTypeCode, "1");  // the document's own code is not read
    EXPECT_EQ(contact.emailInfo->address, "jane@example.com");
    EXPECT_TRUE(contact.emailInfo->confirmedEmail);
    EXPECT_EQ(contact.phoneInfo->number, "555-0100");
    EXPECT_FALSE(contact.phoneInfo->confirmedPhone);  // "y" is not "Y"
    EXPECT_EQ(contact.phoneInfo->phoneTypeCode, "");
    EXPECT_TRUE(info->preference->preferEmailFlag);
    EXPECT_FALSE(info->preference->preferSmsFlag);
    // Names come from the first contact, not the top level nor the second contact.
    EXPECT_EQ(info->firstName, "Jane");
    EXPECT_EQ(info->middleName, "Q");
    EXPECT_EQ(info->suffix, "Jr");
    EXPECT_EQ(info->prefix, "");
    EXPECT_EQ(info->loyaltyDetails->loyaltyId, "L-77");
    EXPECT_EQ(info->loyaltyDetails->pointType, 0);
    // Group and merchant codes are walked but never kept.
    EXPECT_FALSE(info->consumerGroupCodes);
    EXPECT_FALSE(info->merchantTypes);
}

TEST(ConsumerReaderTest, AnIdOnlyDocumentReadsAsAbsentNullTextAndFalse) {
    auto info = read(QVCJSON{{"consumerId", 42}});
    const auto& person = *info->personalInfo;
    const auto& contact = *person.contactInfo;
    EXPECT_EQ(info->consumerID, 42);
    for (const auto& code :
         {person.genderTypeCode, person.maritalStatusTypeCode, person.incomeRangeTypeCode, person.educationTypeCode,
          person.ageRangeTypeCode, person.occupationTypeCode, person.occupationOther, contact.contactTypeCode,
          contact.contactId, contact.addressInfo->addressId, contact.emailInfo->addressId, contact.phoneInfo->phoneId,
          info->accountStatusCode, info->consumerTypeCode}) {
        EXPECT_EQ(code, "(null)");
    }
    for (const auto& text :
         {info->firstName, info->middleName, info->lastName, info->suffix, contact.addressInfo->line1,
          contact.addressInfo->city, contact.addressInfo->countryCode, contact.emailInfo->address,
          contact.phoneInfo->number, person.consumerName, person.dateOfBirth, info->loyaltyDetails->loyaltyId}) {
        EXPECT_FALSE(text);
    }
    EXPECT_FALSE(info->activeAccount || info->preference->preferAppFlag || contact.emailInfo->confirmedEmail);
    EXPECT_EQ(contact.phoneInfo->phoneTypeCode, "");
    EXPECT_EQ(info->preference->preferenceTypeCode, 0);
    EXPECT_TRUE(contact.emailInfo->activeEmail);  // never read: keeps its default
}

TEST(ConsumerReaderTest, ConsumerIdIsALenient32BitRead) {
    EXPECT_EQ(read(QVCJSON{{"consumerId", "007"}})->consumerID, 7);
    EXPECT_EQ(read(QVCJSON{{"consumerId", "abc"}})->consumerID, 0);
    EXPECT_EQ(read(QVCJSON{{"consumerId", nullptr}})->consumerID, 0);
    EXPECT_EQ(read(QVCJSON{{"consumerId", 4294967297LL}})->consumerID, 1);
    EXPECT_EQ(read(QVCJSON{{"consumerId", "-5"}})->consumerID, -5);
}

TEST(ConsumerReaderTest, PreferenceTypeCodeIsATokenNotTheCode) {
    auto first = read(consumerDocument());
    auto again = read(consumerDocument());
    EXPECT_NE(first->preference->preferenceTypeCode, 0);
    EXPECT_NE(first->preference->preferenceTypeCode, 2);
    EXPECT_EQ(first->preference->preferenceTypeCode, again->preference->preferenceTypeCode);
}

TEST(ConsumerReaderTest, OnlyTheTextYIsTrueAndANumberFlagRaises) {
    auto info = read(QVCJSON{{"preferEmailFlag", "1"}, {"preferSmsFlag", "true"}, {"activeFlag", "y"}});
    EXPECT_FALSE(info->preference->preferEmailFlag || info->preference->preferSmsFlag || info->activeAccount);
    EXPECT_EQ(thrownMessage([] { read(QVCJSON{{"activeFlag", 1}}); }), "flag activeFlag is a number, not text");
}

TEST(ConsumerReaderTest, MalformedBranchesRaiseNamingTheValue) {
    auto withContact = [](QVCJSON contact) { return QVCJSON{{"contactList", {std::move(contact)}}}; };
    EXPECT_EQ(thrownMessage([] {
                  read(QVCJSON{{"contactList", QVCJSON::array()}});
              }),
              "cannot take element 0 of contactList: it holds 0 elements");
    EXPECT_EQ(thrownMessage([] {
                  read(QVCJSON{{"contactList", "x"}});
              }),
              "cannot take element 0 of contactList: it is a string, not an array");
    EXPECT_EQ(thrownMessage([&] {
                  read(withContact({{"email", {nullptr}}}));
              }),
              "cannot read key \"emailAddressId\" of contactList[0].email[0]: it is null, not an object");
    EXPECT_EQ(thrownMessage([] {
                  read(QVCJSON{{"company", {nullptr}}});
              }),
              "cannot read key \"companyLoyalty\" of company[0]: it is null, not an object");
    EXPECT_EQ(thrownMessage([&] {
                  read(withContact({{"phone", QVCJSON::array()}}));
              }),
              "cannot take element 0 of contactList[0].phone: it holds 0 elements");
    EXPECT_EQ(thrownMessage([] {
                  read(QVCJSON{{"consumerGroup", {{{"consumerGroupType", "G"}}}}});
              }),
              "cannot read key \"groupCode\" of consumerGroup[0].consumerGroupType: it is a string, not an object");
    EXPECT_EQ(thrownMessage([] {
                  read(QVCJSON{{"consumerMerchantType", {nullptr}}});
              }),
              "cannot read key \"merchantType\" of consumerMerchantType[0]: it is null, not an object");
    // The first fault in reading order is the one reported.
    EXPECT_EQ(thrownMessage([] {
                  read(QVCJSON{{"company", QVCJSON::array()}, {"contactList", QVCJSON::array()}});
              }),
              "cannot take element 0 of contactList: it holds 0 elements");
}

TEST(ConsumerReaderTest, AbsentAndNullBranchesNeverRaise) {
    auto nullContact = read(QVCJSON{{"contactList", {nullptr, {{"firstName", "B"}}}}, {"company", nullptr}});
    EXPECT_FALSE(nullContact->firstName);
    EXPECT_EQ(nullContact->personalInfo->contactInfo->contactId, "(null)");
    auto nullLists = read(QVCJSON{{"contactList", {{{"email", nullptr}, {"address", nullptr}}}},
                                  {"consumerGroup", nullptr},
                                  {"occupationOther", nullptr}});
    EXPECT_FALSE(nullLists->personalInfo->contactInfo->emailInfo->address);
    EXPECT_EQ(nullLists->personalInfo->occupationOther, "(null)");
}

}  // namespace
