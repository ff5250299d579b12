#include "ConsumerTestSupport.h"

namespace {

class ConsumerDocumentTest : public ::testing::Test {
protected:
    std::shared_ptr<QVConsumerManager> manager = makeManager(std::make_shared<QVCScriptedWebServiceHandler>());
    std::shared_ptr<QVCConsumerInfo> info = edited();

    /// A consumer built with defaults, then edited the way a form would.
    static std::shared_ptr<QVCConsumerInfo> edited() {
        auto info = formConsumer();
        info->activeAccount = false;
        info->merchantTypes = std::vector<QVCJSON>{QVCJSON("M7")};
        info->preference->preferEmailFlag = false, info->preference->preferenceTypeCode = 2;
        auto& contact = *info->personalInfo->contactInfo;
        contact.contactTypeCode = "5", contact.addressInfo->addressTypeCode = "6";
        contact.emailInfo->addressTypeCode = "7", contact.phoneInfo->phoneTypeCode = "8";
        return info;
    }
};

TEST_F(ConsumerDocumentTest, SignUpDocumentWritesConstantCodesFilteredTextsAndNoRowIds) {
    info->suffix = std::nullopt;  // filtered: goes out as JSON null
    EXPECT_EQ(manager->signUpDocument(info), QVCJSON::parse(R"({"consumers": {"userId": "", "quorvexId": 42,
        "genderTypeCode": "1", "consumerTypeCode": "1", "maritalStatusTypeCode": "1", "occupationTypeCode": "1",
        "occupationOther": "", "incomeRangeTypeCode": "1", "educationTypeCode": "1", "birthMonthDay": "",
        "ageRangeTypeCode": "1", "accountStatusCode": "1", "activeFlag": "N", "preferEmailFlag": "0",
        "preferSmsFlag": "1", "preferAppFlag": "1", "consumerGroupCodes": [1, 2], "merchantCategoryCodes": ["M7"],
        "lockedDate": "", "expiresDate": "", "contactList": [{"firstName": "Jane", "lastName": "Doe", "middleName": "Q",
        "preferenceTypeCode": 2, "suffix": null, "contactTypeCode": "1", "address": [{"addressLine1": "33 Market St",
        "addressLine2": "", "addressLine3": "", "city": "San Francisco", "postalCode": "94127", "stateCode": "CA",
        "countryCode": "US", "addressTypeCode": "1"}],
        "email": [{"emailAddress": "", "confirmedFlag": "Y", "emailAddressTypeCode": "1"}],
        "phone": [{"phoneNumber": "", "confirmedFlag": "Y", "phonenumberTypeCode": "1"}]}]}})"));
}

TEST_F(ConsumerDocumentTest, UpdateDocumentWritesIdsTheRecordsCodesAndLowerCaseY) {
    info->activeAccount = true;
    EXPECT_EQ(manager->updateDocument(info), QVCJSON::parse(R"({"consumerRq": {"consumers": {"userId": "",
        "consumerId": "1234", "quorvexId": "42", "genderTypeCode": "1", "consumerTypeCode": "1",
        "maritalStatusTypeCode": "1", "occupationTypeCode": "1", "occupationOther": "", "incomeRangeTypeCode": "1",
        "educationTypeCode": "1", "birthMonthDay": "", "ageRangeTypeCode": "1", "accountStatusCode": "1",
        "activeFlag": "y", "preferEmailFlag": "0", "preferSmsFlag": "1", "preferAppFlag": "1",
        "consumerGroupCodes": [1, 2], "lockedDate": "", "expiresDate": "", "contactList": [{"contactId": "1",
        "firstName": "Jane", "lastName": "Doe", "middleName": "Q", "preferenceTypeCode": 2, "suffix": "Sr",
        "contactTypeCode": "5", "address": [{"addressId": "1", "addressLine1": "33 Market St", "addressLine2": "",
        "addressLine3": "", "city": "San Francisco", "postalCode": "94127", "stateCode": "CA", "countryCode": "US",
        "addressTypeCode": "6"}], "email": [{"emailAddressId": "1", "emailAddress": "", "confirmedFlag": "Y",
        "emailAddressTypeCode": "7"}], "phone": [{"phoneNumberId": "1", "phoneNumber": "", "confirmedFlag": "Y",
        "phonenumberTypeCode": "8"}]}]}}})"));
}

TEST_F(ConsumerDocumentTest, AbsentValuesRaiseUnlessFilteredAtSignUp) {
    auto message = [&](bool signUp) {
        return messageOf([&] { signUp ? manager->signUpDocument(info) : manager->updateDocument(info); });
    };
    info->personalInfo->contactInfo->addressInfo->city = std::nullopt;
    EXPECT_TRUE(manager->signUpDocument(info)["consumers"]["contactList"][0]["address"][0]["city"].is_null());
    EXPECT_EQ(message(false), "attempt to insert an absent value for key \"city\"");
    info->firstName = std::nullopt;
    EXPECT_EQ(message(true), "attempt to insert an absent value for key \"firstName\"");
    info = edited();
    info->merchantTypes = std::nullopt;  // not written by the update
    EXPECT_EQ(message(true), "attempt to insert an absent value for key \"merchantCategoryCodes\"");
    EXPECT_EQ(message(false), "");
    info->preference = nullptr;
    EXPECT_EQ(message(false), "cannot build the consumer document: preference is absent");
}

}  // namespace
