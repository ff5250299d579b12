#pragma once

/// The library's constants module: service path prefixes, product document
/// key names and the library's version.
class QVCPConstant {};

// Service path prefixes, relative to the service root.
extern const char* const _getMasterData;
extern const char* const _loginService;
extern const char* const _registerAppConsumerService;
extern const char* const _retrieveLoyaltyInfo;
extern const char* const _saveConsumerService;
extern const char* const _changePasswordService;
extern const char* const _forgetPasswordService;
/// Followed by the consumer id and "/offers...": the offer queries and redemption.
extern const char* const QVCConsumerOffersPath;
/// Followed by the consumer id and "/device": push registration.
extern const char* const QVCConsumerDevicePath;

// Key names of the product documents.
extern const char* const QVCHelperAPIProductId;
extern const char* const QVCHelperAPIProductName;
extern const char* const QVCHelperAPIProductDescription;
extern const char* const QVCHelperAPIProductQuantity;
extern const char* const QVCHelperAPIProductPrice;
extern const char* const QVCHelperAPIDescription;
extern const char* const QVCHelperAPIShortDescription;
extern const char* const QVCHelperAPICouponCode;
extern const char* const QVCHelperAPIPrice;
extern const char* const QVCHelperAPIStatus;
extern const char* const QVCHelperAPIStartDate;
extern const char* const QVCHelperAPIEndDate;
extern const char* const QVCHelperAPITaxable;
extern const char* const QVCHelperAPIImageURL;
extern const char* const QVCHelperAPIProductImageText;
extern const char* const QVCHelperAPICreatedBy;
extern const char* const QVCHelperAPICreatedOn;
extern const char* const QVCHelperAPISKU;
extern const char* const QVCHelperAPISalesChannels;
extern const char* const QVCHelperAPIChannelId;
extern const char* const QVCHelperAPIChannelName;
extern const char* const QVCHelperAPICategories;
extern const char* const QVCHelperAPICategoryId;
extern const char* const QVCHelperAPICategoryName;

/// The library's version, as a number and as text.
extern const double QVConsumerVersionNumber;
extern const char* const QVConsumerVersionString;
