#include "OffersTestSupport.h"
#include "QVConsumer/QVCReservationProduct.h"

namespace {

TEST(OfferDocument, ReadsLeavesAsTextsAndAssociatedProductsByNameAndIdOnly) {
    auto offer = QVCOffer::initWithResponse(offerEntry("c-1", "SPRING20"));
    const auto& details = *offer->offerDetails;
    EXPECT_EQ(offer->offerId, Text("900"));
    EXPECT_EQ(details.type->amountOff, Text("5.50"));
    ASSERT_EQ(details.products->size(), 2U);
    EXPECT_EQ(details.products->at(0)->name, Text("Tea"));
    EXPECT_EQ(details.products->at(0)->price, Text("0"));
    EXPECT_EQ(details.products->at(1)->productId, 12);
    auto bare = QVCOffer::initWithResponse({{"consumerOfferId", 55}});
    EXPECT_EQ(texts(bare->consumerOfferId, bare->offerCode, bare->offerId), texts("55", std::nullopt, "(null)"));

    QVCJSON entry;
    for (const auto& [minimum, text, combinable] :
         {std::tuple<QVCJSON, Text, bool>{25, "25", true}, {nullptr, "(null)", false}, {"", "", true}}) {
        entry["offer"]["offerDetails"]["offerRules"]["minPurchaseLimit"] = minimum;
        const auto rule = QVCOffer::initWithResponse(entry)->offerDetails->rule;
        EXPECT_EQ(rule->minPurchaseLimit, text);
        EXPECT_EQ(rule->combinable, combinable);
    }
}

TEST(OfferDocument, WrongShapesThrowNamingThePlace) {
    QVCJSON entry = offerEntry("c", "C");
    entry["offer"]["offerDetails"]["offerRules"] = nullptr;
    EXPECT_EQ(messageOf([&] { QVCOffer::initWithResponse(entry); }),
              "cannot read key \"individualRedeemLimit\" of offer.offerDetails.offerRules: it is null, not an object");
    auto productFailure = [](const QVCJSON& document) {
        return messageOf([&] { QVCReservationProduct::initWithResponse(document); });
    };
    EXPECT_EQ(productFailure({{"categories", {1}}}),
              "cannot read key \"categorytId\" of categories[0]: it is a number, not an object");
    EXPECT_EQ(productFailure({{"taxable", nullptr}}), "taxable is null and has no truth value");
}

TEST(ProductDocument, ReadsTheCatalogueFieldsWithTheirOddities) {
    auto product =
        QVCReservationProduct::initWithResponse({{"price", 12.5},
                                                 {"categories", {{{"categorytId", "5"}}, {{"categoryId", 7}}}},
                                                 {"salesChannels", {{{"channelId", 2.9}}}}});
    EXPECT_EQ(product->price, Text("12.5"));
    EXPECT_EQ(product->categories->at(0)->catagoryId, 5);
    EXPECT_EQ(product->categories->at(1)->catagoryId, 0);
    EXPECT_EQ(product->channels->at(0)->channelId, 2);
    auto bare = QVCReservationProduct::initWithResponse(QVCJSON::object());  // not a fresh record's -1, "0", absent
    EXPECT_TRUE(bare->productId == 0 && !bare->price && bare->categories && bare->categories->empty());
    const std::vector<std::pair<QVCJSON, bool>> taxables = {{true, true},     {0.5, true},   {0, false},
                                                            {"yes", true},    {"T", true},   {"N", false},
                                                            {"  -007", true}, {"00", false}, {"", false}};
    for (const auto& [value, taxable] : taxables) {
        EXPECT_EQ(QVCReservationProduct::initWithResponse({{"taxable", value}})->taxable, taxable) << value.dump();
    }
}

TEST(ProductWriters, TheTwoWritersDifferInPriceKindAndMembers) {
    QVCReservationProduct product;
    product.productId = 8;
    product.quantity = 2;
    product.price = "12.50";
    product.productDescription = std::nullopt;
    EXPECT_EQ(product.toDictionary(), (QVCJSON{{"productId", 8}, {"productQuantity", 2}, {"productPrice", "12.50"}}));
    EXPECT_EQ(product.reverseToDictionary(),
              (QVCJSON{{"productId", 8}, {"productQuantity", 2}, {"productPrice", 12.5}, {"couponCode", ""}}));
}

}  // namespace
