#pragma once

#include "QVConsumer/QVConsumerExport.h"

/// The library's constants module: service path prefixes, product document
/// key names and the library's version.
class QVCONSUMER_EXPORT QVCPConstant {};

// Service path prefixes, relative to the service root.
QVCONSUMER_EXPORT extern const char* const _getMasterData;
QVCONSUMER_EXPORT extern const char* const _loginService;
QVCONSUMER_EXPORT extern const char* const _registerAppConsumerService;
QVCONSUMER_EXPORT extern const char* const _retrieveLoyaltyInfo;
QVCONSUMER_EXPORT extern const char* const _saveConsumerService;
QVCONSUMER_EXPORT extern const char* const _changePasswordService;
QVCONSUMER_EXPORT extern const char* const _forgetPasswordService;
/// Followed by the consumer id and "/offers...": the offer queries and redemption.
QVCONSUMER_EXPORT extern const char* const QVCConsumerOffersPath;
/// Followed by the consumer id and "/device": push registration.
QVCONSUMER_EXPORT extern const char* const QVCConsumerDevicePath;

// Key names of the product documents.
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIProductId;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIProductName;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIProductDescription;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIProductQuantity;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIProductPrice;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIDescription;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIShortDescription;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPICouponCode;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIPrice;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIStatus;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIStartDate;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIEndDate;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPITaxable;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIImageURL;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIProductImageText;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPICreatedBy;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPICreatedOn;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPISKU;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPISalesChannels;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIChannelId;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPIChannelName;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPICategories;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPICategoryId;
QVCONSUMER_EXPORT extern const char* const QVCHelperAPICategoryName;

/// The library's version, as a number and as text.
QVCONSUMER_EXPORT extern const double QVConsumerVersionNumber;
QVCONSUMER_EXPORT extern const char* const QVConsumerVersionString;
