#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>

#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVConsumerManager.h"

/// What a ConsumerCompletion was called with, and how often.
struct ConsumerResult {
    int calls = 0;
    std::shared_ptr<QVCConsumerInfo> consumer;
    QVConsumerManager::Error error;
    std::exception_ptr exception;

    QVConsumerManager::ConsumerCompletion completion() {
        return [this](std::shared_ptr<QVCConsumerInfo> c, QVConsumerManager::Error e, std::exception_ptr x) {
            ++calls;
            consumer = std::move(c);
            error = std::move(e);
            exception = x;
        };
    }
};

/// The message of a QVCException held by exception; fails the test for anything else.
inline std::string qvcMessage(std::exception_ptr exception) {
    if (!exception) {
        ADD_FAILURE() << "no exception";
        return "";
    }
    try {
        std::rethrow_exception(exception);
    } catch (const QVCException& caught) {
        return caught.what();
    } catch (...) {
        ADD_FAILURE() << "not a QVCException";
    }
    return "";
}

/// The message of the QVCException that call throws.
template <typename Call>
std::string thrownMessage(const Call& call) {
    try {
        call();
    } catch (...) {
        return qvcMessage(std::current_exception());
    }
    ADD_FAILURE() << "nothing thrown";
    return "";
}

/// A well-formed consumer document as the service sends it.
inline QVCJSON consumerDocument() {
    return QVCJSON::parse(R"({
        "consumerId": "5150", "userId": "doc-user", "genderTypeCode": 2, "maritalStatusTypeCode": "3",
        "incomeRangeTypeCode": "4", "educationTypeCode": "5", "birthMonthDay": "0704", "ageRangeTypeCode": "6",
        "occupationTypeCode": "7", "occupationOther": "juggler", "accountStatusCode": "A", "consumerTypeCode": "C",
        "activeFlag": "Y", "preferEmailFlag": "Y", "preferSmsFlag": "N", "preferAppFlag": "Y",
        "firstName": "Top", "lastName": "Level",
        "contactList": [{"contactTypeCode": "8", "contactId": 91, "firstName": "Jane", "middleName": "Q",
                         "lastName": "Doe", "suffix": "Jr", "preferenceTypeCode": 2,
                         "address": [{"addressId": 11, "addressLine1": "1 Main St", "addressLine2": "Apt 2",
                                      "addressLine3": "", "city": "Springfield", "postalCode": "12345",
                                      "stateCode": "IL", "countryCode": "US", "addressTypeCode": "9"}],
                         "email": [{"emailAddressId": 12, "emailAddress": "jane@example.com", "confirmedFlag": "Y"}],
                         "phone": [{"phoneNumberId": 13, "phoneNumber": "555-0100", "confirmedFlag": "y",
                                    "phonenumberTypeCode": "4"}]},
                        {"firstName": "Second"}],
        "consumerGroup": [{"consumerGroupType": {"groupCode": "G1"}}, {"consumerGroupType": {"groupCode": 2}}],
        "consumerMerchantType": [{"merchantType": {"merchantTypeCode": "M1"}}],
        "company": [{"companyLoyalty": {"loyalty": {"loyaltyId": "L-77"}}}]
    })");
}
