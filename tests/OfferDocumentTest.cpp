#include <gtest/gtest.h>

#include "OffersTestSupport.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCProductCatagory.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "QVConsumer/QVCSalesChannel.h"

namespace {

using Text = std::optional<std::string>;

TEST(OfferDocument, ReadsEveryLeafWithItsConversion) {
    auto offer = QVCOffer::initWithResponse(offerEntry("c-1", "SPRING20"));
    EXPECT_EQ(offer->consumerOfferId, Text("c-1"));
    EXPECT_EQ(offer->offerCode, Text("SPRING20"));
    EXPECT_EQ(offer->offerId, Text("900"));
    EXPECT_EQ(offer->offerName, Text("Spring sale"));
    EXPECT_EQ(offer->promoCode, Text("SPRING"));
    EXPECT_EQ(offer->offerDescription, Text("Twenty off"));

    const auto& rule = *offer->offerDetails->rule;
    EXPECT_EQ(rule.redeemLimit, Text("1"));
    EXPECT_EQ(rule.transactionLimit, Text("2"));
    EXPECT_EQ(rule.minPurchaseLimit, Text("(null)"));
    EXPECT_FALSE(rule.combinable);

    const auto& type = *offer->offerDetails->type;
    EXPECT_EQ(type.typeDescription, Text("PERCENT OFF"));
    EXPECT_EQ(type.percentOff, Text("20"));
    EXPECT_EQ(type.amountOff, Text("5.50"));
    EXPECT_EQ(type.cardNumber, Text("(null)"));
    EXPECT_EQ(type.loyaltyPoint, Text("0"));
    EXPECT_EQ(offer->offerDetails->imageURL, Text("http://img/1.png"));

    ASSERT_TRUE(offer->offerDetails->products);
    const auto& products = *offer->offerDetails->products;
    ASSERT_EQ(products.size(), 2U);
    EXPECT_EQ(products[0]->name, Text("Tea"));
    EXPECT_EQ(products[0]->productId, 11);
    EXPECT_FALSE(products[1]->name);
    EXPECT_EQ(products[1]->productId, 12);
}

TEST(OfferDocument, AnEntryWithOnlyItsIdsReadsAsAbsentOrNullText) {
    auto offer = QVCOffer::initWithResponse(QVCJSON{{"consumerOfferId", "c-9"}, {"offerCode", "X"}});
    EXPECT_EQ(offer->consumerOfferId, Text("c-9"));
    EXPECT_EQ(offer->offerCode, Text("X"));
    EXPECT_EQ(offer->offerId, Text("(null)"));
    EXPECT_FALSE(offer->offerName);
    EXPECT_FALSE(offer->promoCode);
    EXPECT_FALSE(offer->offerDescription);
    const auto& details = *offer->offerDetails;
    EXPECT_FALSE(details.imageURL);
    EXPECT_FALSE(details.type->typeDescription);
    for (const auto* text : {&details.rule->redeemLimit, &details.rule->transactionLimit,
                             &details.rule->minPurchaseLimit, &details.type->percentOff, &details.type->amountOff,
                             &details.type->cardNumber, &details.type->loyaltyPoint}) {
        EXPECT_EQ(*text, Text("(null)"));
    }
    EXPECT_FALSE(details.rule->combinable);
    ASSERT_TRUE(details.products);
    EXPECT_TRUE(details.products->empty());

    // The same holds for an empty document: no reader default survives.
    auto bare = QVCOffer::initWithResponse(QVCJSON::object());
    EXPECT_FALSE(bare->consumerOfferId);
    EXPECT_FALSE(bare->offerCode);
}

QVCJSON withRules(QVCJSON rules) {
    QVCJSON entry = QVCJSON::object();
    entry["offer"]["offerDetails"]["offerRules"] = std::move(rules);
    return entry;
}

TEST(OfferDocument, CombinableIsWhetherAMinimumPurchaseIsGiven) {
    auto numeric = QVCOffer::initWithResponse(withRules({{"minPurchaseLimit", 25}}));
    EXPECT_EQ(numeric->offerDetails->rule->minPurchaseLimit, Text("25"));
    EXPECT_TRUE(numeric->offerDetails->rule->combinable);

    auto null = QVCOffer::initWithResponse(withRules({{"minPurchaseLimit", nullptr}}));
    EXPECT_EQ(null->offerDetails->rule->minPurchaseLimit, Text("(null)"));
    EXPECT_FALSE(null->offerDetails->rule->combinable);

    auto emptyText = QVCOffer::initWithResponse(withRules({{"minPurchaseLimit", ""}, {"combinable", false}}));
    EXPECT_EQ(emptyText->offerDetails->rule->minPurchaseLimit, Text(""));
    EXPECT_TRUE(emptyText->offerDetails->rule->combinable);
}

TEST(OfferDocument, NumbersAndTextsGiveTheSameText) {
    QVCJSON asText = QVCJSON::object();
    asText["offer"]["offerDetails"]["offerType"]["dollarPercentageOff"] = "10";
    QVCJSON asNumber = QVCJSON::object();
    asNumber["offer"]["offerDetails"]["offerType"]["dollarPercentageOff"] = 10;
    asNumber["offer"]["offerName"] = 7;
    asNumber["consumerOfferId"] = 55;
    EXPECT_EQ(QVCOffer::initWithResponse(asText)->offerDetails->type->percentOff, Text("10"));
    auto offer = QVCOffer::initWithResponse(asNumber);
    EXPECT_EQ(offer->offerDetails->type->percentOff, Text("10"));
    // Members taken as is store the text of a number, too.
    EXPECT_EQ(offer->consumerOfferId, Text("55"));
    EXPECT_EQ(offer->offerName, Text("7"));
}

QVCJSON withProducts(QVCJSON products) {
    QVCJSON entry = QVCJSON::object();
    entry["offer"]["offerDetails"]["associatedProduct"] = std::move(products);
    return entry;
}

TEST(OfferDocument, AssociatedProductsReadOnlyNameAndId) {
    QVCJSON product = {{"productName", "Tea"}, {"productId", "42abc"}, {"price", 3}, {"productQuantity", 4}};
    auto offer = QVCOffer::initWithResponse(withProducts(QVCJSON::array({product})));
    const auto& read = *offer->offerDetails->products->at(0);
    EXPECT_EQ(read.name, Text("Tea"));
    EXPECT_EQ(read.productId, 42);
    EXPECT_EQ(read.price, Text("0"));
    EXPECT_EQ(read.quantity, 0);
    EXPECT_EQ(read.productDescription, Text(""));
    EXPECT_FALSE(read.categories);
    EXPECT_FALSE(read.channels);
}

TEST(OfferDocument, AMissingIntermediateReadsAsNoValues) {
    auto offer = QVCOffer::initWithResponse(QVCJSON{{"offer", {{"offerName", "n"}}}});
    EXPECT_EQ(offer->offerName, Text("n"));
    EXPECT_EQ(offer->offerDetails->rule->redeemLimit, Text("(null)"));
    EXPECT_TRUE(offer->offerDetails->products->empty());
}

TEST(OfferDocument, APresentIntermediateThatIsNoObjectThrowsNamingIt) {
    EXPECT_EQ(messageOf([] {
                  QVCOffer::initWithResponse(QVCJSON{{"offer", {{"offerDetails", nullptr}}}});
              }),
              "cannot read key \"offerRules\" of offer.offerDetails: it is null, not an object");
    EXPECT_EQ(messageOf([] {
                  QVCOffer::initWithResponse(QVCJSON{{"offer", 3}});
              }),
              "cannot read key \"offerId\" of offer: it is a number, not an object");
    EXPECT_EQ(messageOf([] { QVCOffer::initWithResponse(withRules("none")); }),
              "cannot read key \"individualRedeemLimit\" of offer.offerDetails.offerRules: it is a string, not an "
              "object");
    EXPECT_EQ(messageOf([] { QVCOffer::initWithResponse(QVCJSON::array()); }),
              "cannot read key \"consumerOfferId\" of offer document: it is an array, not an object");
}

TEST(OfferDocument, AssociatedProductsMustBeAListOfObjects) {
    EXPECT_TRUE(QVCOffer::initWithResponse(withProducts(nullptr))->offerDetails->products->empty());
    EXPECT_EQ(messageOf([] {
                  QVCOffer::initWithResponse(withProducts({{{"productId", 1}}, 5}));
              }),
              "cannot read key \"productName\" of offer.offerDetails.associatedProduct[1]: it is a number, not an "
              "object");
    EXPECT_EQ(messageOf([] { QVCOffer::initWithResponse(withProducts("Tea")); }),
              "cannot read the elements of offer.offerDetails.associatedProduct: it is a string, not an array");
}

QVCJSON catalogueProduct() {
    return QVCJSON{{"productName", "Tea"},
                   {"price", 12.5},
                   {"productId", "77"},
                   {"productQuantity", 3.9},
                   {"sku", "SKU-1"},
                   {"startDate", "2024-01-01"},
                   {"endDate", "2024-12-31"},
                   {"timeZone", "UTC"},
                   {"categories", {{{"categorytId", 5}, {"categoryName", "Drinks"}}, {{"categoryId", 7}}}},
                   {"shortDescription", "green"},
                   {"productDescription", "green tea"},
                   {"taxable", "Y"},
                   {"salesChannels", {{{"channelId", "2"}, {"channelName", "web"}}}},
                   {"imageUrl", "http://img/tea.png"},
                   {"productImageText", "a cup"},
                   {"createdOn", "yesterday"},
                   {"createdBy", "admin"},
                   {"status", "ACTIVE"},
                   {"statusCode", 1}};
}

TEST(ProductDocument, AReservationProductReadsTheCatalogueDocument) {
    auto product = QVCReservationProduct::initWithResponse(catalogueProduct());
    EXPECT_EQ(product->name, Text("Tea"));
    EXPECT_EQ(product->price, Text("12.5"));
    EXPECT_EQ(product->productId, 77);
    EXPECT_EQ(product->quantity, 3);
    EXPECT_EQ(product->sku, Text("SKU-1"));
    EXPECT_EQ(product->startDate, Text("2024-01-01"));
    EXPECT_EQ(product->endDate, Text("2024-12-31"));
    EXPECT_EQ(product->timeZone, Text("UTC"));
    EXPECT_EQ(product->shortDescription, Text("green"));
    EXPECT_EQ(product->prodDesc, Text("green tea"));
    EXPECT_EQ(product->productDescription, Text(""));
    EXPECT_TRUE(product->taxable);
    EXPECT_EQ(product->imageAddress, Text("http://img/tea.png"));
    EXPECT_EQ(product->imageText, Text("a cup"));
    EXPECT_EQ(product->createOn, Text("yesterday"));
    EXPECT_EQ(product->createBy, Text("admin"));
    EXPECT_EQ(product->status, Text("ACTIVE"));
    EXPECT_EQ(product->statusCode, Text("1"));

    ASSERT_EQ(product->categories->size(), 2U);
    EXPECT_EQ(product->categories->at(0)->catagoryId, 5);
    EXPECT_EQ(product->categories->at(0)->catagoryName, Text("Drinks"));
    // Only the misspelt id key is read.
    EXPECT_EQ(product->categories->at(1)->catagoryId, 0);
    ASSERT_EQ(product->channels->size(), 1U);
    EXPECT_EQ(product->channels->at(0)->channelId, 2);
    EXPECT_EQ(product->channels->at(0)->channelName, Text("web"));
}

TEST(ProductDocument, MissingValuesOverwriteTheProductDefaultsExceptTheDescription) {
    auto product = QVCReservationProduct::initWithResponse(QVCJSON{{"categories", nullptr}});
    EXPECT_EQ(product->productId, 0);
    EXPECT_FALSE(product->price);
    EXPECT_EQ(product->quantity, 0);
    EXPECT_EQ(product->productDescription, Text(""));
    ASSERT_TRUE(product->categories);
    EXPECT_TRUE(product->categories->empty());
    ASSERT_TRUE(product->channels);
    EXPECT_TRUE(product->channels->empty());
    EXPECT_FALSE(product->taxable);

    auto plain = QVCProduct::initWithResponse(QVCJSON::object());
    EXPECT_EQ(plain->productId, 0);
    EXPECT_FALSE(plain->price);
    EXPECT_FALSE(plain->productDescription);
}

TEST(ProductDocument, APlainProductReadsItsShortDocument) {
    auto product = QVCProduct::initWithResponse(QVCJSON{{"productId", -4.7},
                                                        {"productQuantity", "2 boxes"},
                                                        {"productDescription", "mug"},
                                                        {"productPrice", "9.99"},
                                                        {"price", "1"}});
    EXPECT_EQ(product->productId, -4);
    EXPECT_EQ(product->quantity, 2);
    EXPECT_EQ(product->productDescription, Text("mug"));
    EXPECT_EQ(product->price, Text("9.99"));
}

TEST(ProductDocument, TaxableIsATruthValue) {
    const std::vector<std::pair<QVCJSON, bool>> cases = {
        {true, true},     {false, false}, {1, true},      {0, false},   {0.5, true},    {"Y", true},
        {"yes", true},    {"t", true},    {"True", true}, {"N", false}, {"0", false},   {"  -007", true},
        {"+0009x", true}, {"00", false},  {"", false},    {"x", false}, {" 0 1", false}};
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(QVCReservationProduct::initWithResponse(QVCJSON{{"taxable", value}})->taxable, expected)
            << value.dump();
    }
    EXPECT_EQ(messageOf([] {
                  QVCReservationProduct::initWithResponse(QVCJSON{{"taxable", nullptr}});
              }),
              "taxable is null and has no truth value");
    EXPECT_EQ(messageOf([] {
                  QVCReservationProduct::initWithResponse(QVCJSON{{"taxable", QVCJSON::object()}});
              }),
              "taxable is an object and has no truth value");
}

TEST(ProductDocument, CategoriesAndChannelsMustBeListsOfObjects) {
    EXPECT_EQ(messageOf([] {
                  QVCReservationProduct::initWithResponse(QVCJSON{{"categories", {1}}});
              }),
              "cannot read key \"categorytId\" of categories[0]: it is a number, not an object");
    EXPECT_EQ(messageOf([] {
                  QVCReservationProduct::initWithResponse(QVCJSON{{"salesChannels", {{"a", 1}}}});
              }),
              "cannot read the elements of salesChannels: it is an object, not an array");
    EXPECT_EQ(messageOf([] {
                  QVCReservationProduct::initWithResponse(QVCJSON{{"categories", {{{"categorytId", {1}}}}}});
              }),
              "categories[0].categorytId is an array and has no integer value");
}

TEST(ProductDocument, CategoryAndChannelReadersStandAlone) {
    auto category = QVCProductCatagory::initWithResponse(QVCJSON{{"categoryId", 7}, {"categoryName", "Food"}});
    EXPECT_EQ(category->catagoryId, 0);
    EXPECT_EQ(category->catagoryName, Text("Food"));
    auto channel = QVCSalesChannel::initWithResponse(QVCJSON{{"channelId", 3}, {"channelName", nullptr}});
    EXPECT_EQ(channel->channelId, 3);
    EXPECT_FALSE(channel->channelName);
}

TEST(ProductWriters, ToDictionaryWritesTextsAsTheyStandAndLeavesAbsentOnesOut) {
    QVCProduct product;
    product.productId = 5;
    product.quantity = 2;
    product.price = "12.50";
    product.productDescription = "mug";
    const QVCJSON full = product.toDictionary();
    EXPECT_EQ(
        full,
        (QVCJSON{{"productId", 5}, {"productQuantity", 2}, {"productPrice", "12.50"}, {"productDescription", "mug"}}));
    EXPECT_TRUE(full.at("productId").is_number_integer());

    product.productDescription = std::nullopt;
    EXPECT_EQ(product.toDictionary(), (QVCJSON{{"productId", 5}, {"productQuantity", 2}, {"productPrice", "12.50"}}));
    product.price = std::nullopt;
    EXPECT_EQ(product.toDictionary().size(), 2U);
}

TEST(ProductWriters, ReverseToDictionaryWritesFourMembersWithANumericPrice) {
    QVCReservationProduct product;
    product.productId = 8;
    product.quantity = 2;
    product.price = "12.50";
    product.prodDesc = "long";
    product.name = "Tea";
    const QVCJSON written = product.reverseToDictionary();
    EXPECT_EQ(written, (QVCJSON{{"productId", 8}, {"productQuantity", 2}, {"productPrice", 12.5}, {"couponCode", ""}}));
    EXPECT_TRUE(written.at("productPrice").is_number_float());

    product.price = std::nullopt;
    EXPECT_EQ(product.reverseToDictionary().at("productPrice"), QVCJSON(0.0));
    product.price = "about 3";
    EXPECT_EQ(product.reverseToDictionary().at("productPrice"), QVCJSON(0.0));
    EXPECT_TRUE(product.reverseToDictionary().at("productPrice").is_number_float());
}

}  // namespace
