#include <gtest/gtest.h>

#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCProductCatagory.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "QVConsumer/QVCSalesChannel.h"

namespace {

const std::optional<std::string> empty = "";

TEST(OfferRecords, AFreshOfferHasEmptyTextsButNoDescription) {
    QVCOffer offer;
    EXPECT_EQ(offer.consumerOfferId, empty);
    EXPECT_EQ(offer.offerId, empty);
    EXPECT_EQ(offer.offerName, empty);
    EXPECT_EQ(offer.promoCode, empty);
    EXPECT_EQ(offer.offerCode, empty);
    EXPECT_FALSE(offer.offerDescription);

    ASSERT_TRUE(offer.offerDetails);
    const OfferDetails& details = *offer.offerDetails;
    EXPECT_EQ(details.imageURL, empty);
    ASSERT_TRUE(details.products);
    EXPECT_TRUE(details.products->empty());
    ASSERT_TRUE(details.rule);
    EXPECT_EQ(details.rule->redeemLimit, empty);
    EXPECT_EQ(details.rule->transactionLimit, empty);
    EXPECT_EQ(details.rule->minPurchaseLimit, empty);
    EXPECT_FALSE(details.rule->combinable);
    ASSERT_TRUE(details.type);
    for (const auto* text : {&details.type->typeDescription, &details.type->percentOff, &details.type->amountOff,
                             &details.type->cardNumber, &details.type->loyaltyPoint}) {
        EXPECT_EQ(*text, empty);
    }
}

TEST(OfferRecords, FreshOffersDoNotShareTheirDetails) {
    QVCOffer first;
    QVCOffer second;
    EXPECT_NE(first.offerDetails, second.offerDetails);
    EXPECT_NE(first.offerDetails->rule, second.offerDetails->rule);
    EXPECT_NE(first.offerDetails->type, second.offerDetails->type);
}

TEST(ProductRecords, PlainAndReservationProductsShareTheProductDefaults) {
    QVCReservationProduct reservation;
    QVCProduct plain;
    for (const QVCProduct* product : std::initializer_list<const QVCProduct*>{&plain, &reservation}) {
        EXPECT_EQ(product->productId, -1);
        EXPECT_EQ(product->quantity, 0);
        EXPECT_EQ(product->productDescription, empty);
        EXPECT_EQ(product->price, std::optional<std::string>("0"));
    }
}

TEST(ProductRecords, AFreshReservationProductHasNoCatalogueData) {
    QVCReservationProduct product;
    EXPECT_FALSE(product.categories);
    EXPECT_FALSE(product.channels);
    EXPECT_FALSE(product.taxable);
    for (const auto* text :
         {&product.name, &product.startDate, &product.endDate, &product.timeZone, &product.shortDescription,
          &product.prodDesc, &product.imageAddress, &product.imageText, &product.sku, &product.status,
          &product.statusCode, &product.createOn, &product.createBy}) {
        EXPECT_FALSE(*text);
    }
}

TEST(ProductRecords, CategoriesAndChannelsStartWithoutIdOrName) {
    QVCProductCatagory category;
    QVCSalesChannel channel;
    EXPECT_EQ(category.catagoryId, 0);
    EXPECT_FALSE(category.catagoryName);
    EXPECT_EQ(channel.channelId, 0);
    EXPECT_FALSE(channel.channelName);
}

TEST(ProductRecords, AReservationProductIsAProduct) {
    std::shared_ptr<QVCProduct> product = std::make_shared<QVCReservationProduct>();
    EXPECT_TRUE(std::dynamic_pointer_cast<QVCReservationProduct>(product));
    EXPECT_FALSE(std::dynamic_pointer_cast<QVCReservationProduct>(std::make_shared<QVCProduct>()));
}

}  // namespace
