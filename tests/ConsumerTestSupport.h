#pragma once

#include <memory>
#include <string>

#include "QVConsumer/QVCConsumerInfo.h"
#include "TestSupport.h"

using ConsumerResult = Record<QVConsumerManager::ConsumerCompletion>;

/// A consumer built with defaults and the names that a form must fill.
inline std::shared_ptr<QVCConsumerInfo> formConsumer() {
    auto info = std::make_shared<QVCConsumerInfo>();
    info->firstName = "Jane", info->middleName = "Q", info->lastName = "Doe", info->suffix = "Sr";
    return info;
}

/// A consumer document as the service sends it, with names also at the top level and a second contact.
inline QVCJSON consumerDocument() {
    return QVCJSON::parse(R"({"consumerId": "5150", "userId": "doc-user", "genderTypeCode": 2,
        "birthMonthDay": "0704", "activeFlag": "Y", "preferEmailFlag": "Y", "preferSmsFlag": "N", "firstName": "Top",
        "contactList": [{"contactId": 91, "firstName": "Jane", "middleName": "Q", "suffix": "Jr",
            "preferenceTypeCode": 2, "address": [{"addressId": 11, "addressLine2": "Apt 2", "addressTypeCode": "9"}],
            "email": [{"emailAddress": "jane@example.com", "confirmedFlag": "Y"}],
            "phone": [{"phoneNumber": "555-0100", "confirmedFlag": "y", "phonenumberTypeCode": "4"}]},
            {"firstName": "Second"}],
        "consumerGroup": [{"consumerGroupType": {"groupCode": "G1"}}, {"consumerGroupType": {"groupCode": 2}}],
        "consumerMerchantType": [{"merchantType": {"merchantTypeCode": "M1"}}],
        "company": [{"companyLoyalty": {"loyalty": {"loyaltyId": "L-77"}}}]})");
}
