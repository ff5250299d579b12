#include "QVConsumer/QVCPConstant.h"

#include "platform/QVCVersion.h"

const char* const _getMasterData = "lqsapi/consumers/v1/data";
const char* const _loginService = "lqsapi/consumers/v1/consumer/";
const char* const _registerAppConsumerService = "lqsapi/consumers/v1/consumer";
const char* const _retrieveLoyaltyInfo = "lqsapi/consumers/v1/consumer/";
const char* const _saveConsumerService = "lqsapi/consumers/v1/consumer/";
const char* const _changePasswordService = "lqsapi/consumer/changePassword";
const char* const _forgetPasswordService = "lqsapi/consumer/forgotPassword";
const char* const QVCConsumerOffersPath = "lqsapi/consumers/v1/consumers/";
const char* const QVCConsumerDevicePath = "lqsapi/consumers/v1/consumer/";

const char* const QVCHelperAPIProductId = "productId";
const char* const QVCHelperAPIProductName = "productName";
const char* const QVCHelperAPIProductDescription = "productDescription";
const char* const QVCHelperAPIProductQuantity = "productQuantity";
const char* const QVCHelperAPIProductPrice = "productPrice";
const char* const QVCHelperAPIDescription = "description";
const char* const QVCHelperAPIShortDescription = "shortDescription";
const char* const QVCHelperAPICouponCode = "couponCode";
const char* const QVCHelperAPIPrice = "price";
const char* const QVCHelperAPIStatus = "status";
const char* const QVCHelperAPIStartDate = "startDate";
const char* const QVCHelperAPIEndDate = "endDate";
const char* const QVCHelperAPITaxable = "taxable";
const char* const QVCHelperAPIImageURL = "imageUrl";
const char* const QVCHelperAPIProductImageText = "productImageText";
const char* const QVCHelperAPICreatedBy = "createdBy";
const char* const QVCHelperAPICreatedOn = "createdOn";
const char* const QVCHelperAPISKU = "sku";
const char* const QVCHelperAPISalesChannels = "salesChannels";
const char* const QVCHelperAPIChannelId = "channelId";
const char* const QVCHelperAPIChannelName = "channelName";
const char* const QVCHelperAPICategories = "categories";
const char* const QVCHelperAPICategoryId = "categoryId";
const char* const QVCHelperAPICategoryName = "categoryName";

const double QVConsumerVersionNumber = QVC_VERSION_MAJOR_MINOR;
const char* const QVConsumerVersionString = "QVConsumer " QVC_VERSION_TEXT;
