#include <gtest/gtest.h>

#include "ConsumerTestSupport.h"
#include "TestSupport.h"

namespace {

class ConsumerDocumentTest : public ::testing::Test {
protected:
    std::shared_ptr<QVConsumerManager> manager = makeManager(std::make_shared<QVCScriptedWebServiceHandler>());
    std::shared_ptr<QVCConsumerInfo> info = edited();

    /// A consumer built with defaults, then edited the way a form would.
    static std::shared_ptr<QVCConsumerInfo> edited() {
        auto info = std::make_shared<QVCConsumerInfo>();
        info->firstName = "Jane";
        info->middleName = "Q";
        info->lastName = "Doe";
        info->suffix = "Sr";
        info->activeAccount = false;
        info->merchantTypes = std::vector<QVCJSON>{QVCJSON("M7")};
        info->preference->preferEmailFlag = false;
        info->preference->preferenceTypeCode = 2;
        auto& contact = *info->personalInfo->contactInfo;
        contact.contactTypeCode = "5";
        contact.addressInfo->addressTypeCode = "6";
        contact.emailInfo->addressTypeCode = "7";
        contact.emailInfo->address = "jane@example.com";
        contact.phoneInfo->phoneTypeCode = "8";
        contact.phoneInfo->confirmedPhone = false;
        return info;
    }
};

TEST_F(ConsumerDocumentTest, SignUpDocumentWritesConstantsFiltersAndNoRowIds) {
    info->suffix = std::nullopt;  // filtered at sign-up: goes out as JSON null
    EXPECT_EQ(manager->signUpDocument(info), QVCJSON::parse(R"({"consumers": {
        "userId": "", "quorvexId": 42, "genderTypeCode": "1", "consumerTypeCode": "1",
        "maritalStatusTypeCode": "1", "occupationTypeCode": "1", "occupationOther": "", "incomeRangeTypeCode": "1",
        "educationTypeCode": "1", "birthMonthDay": "", "ageRangeTypeCode": "1", "accountStatusCode": "1",
        "activeFlag": "N", "preferEmailFlag": "0", "preferSmsFlag": "1", "preferAppFlag": "1",
        "consumerGroupCodes": [1, 2], "merchantCategoryCodes": ["M7"], "lockedDate": "", "expiresDate": "",
        "contactList": [{"firstName": "Jane", "lastName": "Doe", "middleName": "Q", "preferenceTypeCode": 2,
            "suffix": null, "contactTypeCode": "1",
            "address": [{"addressLine1": "33 Market St", "addressLine2": "", "addressLine3": "",
                "city": "San Francisco", "postalCode": "94127", "stateCode": "CA", "countryCode": "US",
                "addressTypeCode": "1"}],
            "email": [{"emailAddress": "jane@example.com", "confirmedFlag": "Y", "emailAddressTypeCode": "1"}],
            "phone": [{"phoneNumber": "", "confirmedFlag": "N", "phonenumberTypeCode": "1"}]}]}})"));
}

TEST_F(ConsumerDocumentTest, UpdateDocumentWritesIdsRecordCodesAndLowerCaseY) {
    info->activeAccount = true;
    EXPECT_EQ(manager->updateDocument(info), QVCJSON::parse(R"({"consumerRq": {"consumers": {
        "userId": "", "consumerId": "1234", "quorvexId": "42", "genderTypeCode": "1", "consumerTypeCode": "1",
        "maritalStatusTypeCode": "1", "occupationTypeCode": "1", "occupationOther": "", "incomeRangeTypeCode": "1",
        "educationTypeCode": "1", "birthMonthDay": "", "ageRangeTypeCode": "1", "accountStatusCode": "1",
        "activeFlag": "y", "preferEmailFlag": "0", "preferSmsFlag": "1", "preferAppFlag": "1",
        "consumerGroupCodes": [1, 2], "lockedDate": "", "expiresDate": "",
        "contactList": [{"contactId": "1", "firstName": "Jane", "lastName": "Doe", "middleName": "Q",
            "preferenceTypeCode": 2, "suffix": "Sr", "contactTypeCode": "5",
            "address": [{"addressId": "1", "addressLine1": "33 Market St", "addressLine2": "", "addressLine3": "",
                "city": "San Francisco", "postalCode": "94127", "stateCode": "CA", "countryCode": "US",
                "addressTypeCode": "6"}],
            "email": [{"emailAddressId": "1", "emailAddress": "jane@example.com", "confirmedFlag": "Y",
                "emailAddressTypeCode": "7"}],
            "phone": [{"phoneNumberId": "1", "phoneNumber": "", "confirmedFlag": "N",
                "phonenumberTypeCode": "8"}]}]}}})"));
}

TEST_F(ConsumerDocumentTest, AbsentValuesThatAreNotFilteredRaise) {
    info->personalInfo->contactInfo->addressInfo->city = std::nullopt;
    EXPECT_TRUE(manager->signUpDocument(info)["consumers"]["contactList"][0]["address"][0]["city"].is_null());
    EXPECT_EQ(thrownMessage([&] { manager->updateDocument(info); }),
              "attempt to insert an absent value for key \"city\"");

    info->firstName = std::nullopt;
    EXPECT_EQ(thrownMessage([&] { manager->signUpDocument(info); }),
              "attempt to insert an absent value for key \"firstName\"");
    info = edited();
    info->personalInfo->contactInfo = nullptr;
    EXPECT_EQ(thrownMessage([&] { manager->signUpDocument(info); }),
              "cannot build the consumer document: personalInfo.contactInfo is absent");
    EXPECT_EQ(thrownMessage([&] { manager->updateDocument(nullptr); }),
              "cannot build the consumer document: the consumer record is absent");
    info = edited();
    info->merchantTypes = std::nullopt;  // not written at update
    EXPECT_NO_THROW(manager->updateDocument(info));
    EXPECT_EQ(thrownMessage([&] { manager->signUpDocument(info); }),
              "attempt to insert an absent value for key \"merchantCategoryCodes\"");

    auto anonymous = makeManager(std::make_shared<QVCScriptedWebServiceHandler>(), std::nullopt);
    EXPECT_EQ(thrownMessage([&] { anonymous->updateDocument(info); }),
              "attempt to insert an absent value for key \"consumerId\"");
}

TEST_F(ConsumerDocumentTest, ReadingBackAWrittenDocumentIsNotARoundTrip) {
    info->preference->preferEmailFlag = true;
    info->personalInfo->genderTypeCode = "2";
    QVCJSON written = manager->signUpDocument(info)["consumers"];
    auto back = QVCConsumerInfo::initWithResponse(written);
    EXPECT_EQ(back->firstName, "Jane");
    EXPECT_EQ(back->personalInfo->genderTypeCode, "2");
    EXPECT_FALSE(back->preference->preferEmailFlag);  // written "1", read only as "Y"
    EXPECT_FALSE(back->activeAccount);                // written "N"
    EXPECT_FALSE(back->consumerGroupCodes);           // written, dropped on reading
    EXPECT_EQ(back->personalInfo->contactInfo->phoneInfo->phoneTypeCode, "");
    // The read record has no code lists, so it cannot be written back unchanged.
    EXPECT_EQ(thrownMessage([&] { manager->updateDocument(back); }),
              "attempt to insert an absent value for key \"consumerGroupCodes\"");
}

}  // namespace
