#include <gtest/gtest.h>

#include "OffersTestSupport.h"

namespace {

using Text = std::optional<std::string>;
using Products = QVConsumerManager::Products;

struct ValidationResult {
    int calls = 0;
    bool valid = false;
    std::optional<Products> products;
    Text amountOff;
    QVConsumerManager::Error error;
    std::exception_ptr exception;

    QVConsumerManager::ValidationCompletion completion() {
        return [this](bool isValid, std::optional<Products> received, Text amount, QVConsumerManager::Error err,
                      std::exception_ptr caught) {
            ++calls;
            valid = isValid;
            products = std::move(received);
            amountOff = std::move(amount);
            error = std::move(err);
            exception = caught;
        };
    }

    /// The price texts of the returned products, in order.
    std::vector<Text> prices() const {
        std::vector<Text> texts;
        for (const auto& product : products.value_or(Products{})) {
            texts.push_back(product->price);
        }
        return texts;
    }
};

std::shared_ptr<QVCProduct> basketProduct(std::int64_t id, const Text& price, std::int64_t quantity) {
    auto product = std::make_shared<QVCProduct>();
    product->productId = id;
    product->price = price;
    product->quantity = quantity;
    return product;
}

/// A percentage offer of 20 off for products 11 and 12, without minimum or points.
QVCJSON percentOffer() {
    QVCJSON entry = offerEntry("c-1", "SPRING20");
    entry["offer"]["offerDetails"]["offerType"]["dollarPercentageOff"] = "20";
    return entry;
}

class OfferValidationTest : public OffersTest {
protected:
    /// The basket of ten at 2 and five at 1: a total of 25.
    Products basket = {basketProduct(11, "10", 2), basketProduct(12, "5", 1)};

    ValidationResult validate(const QVCJSON& offerAnswer, std::optional<Products> products,
                              const Text& code = "SPRING20") {
        handler->answerWithBody(offerAnswer);
        ValidationResult result;
        manager->validateOfferWithOfferCode(code, std::move(products), result.completion());
        EXPECT_EQ(result.calls, deferred() ? 0 : 1);
        deliver();
        EXPECT_EQ(result.calls, 1);
        EXPECT_EQ(handler->requestCount(), 1U);
        return result;
    }
};
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(OfferValidationTest);

TEST_P(OfferValidationTest, APercentageOfferPricesEveryProductPerUnit) {
    const auto result = validate(QVCJSON::array({percentOffer()}), basket, " SPRING 20 ");
    EXPECT_EQ(handler->lastRequest().path, "lqsapi/consumers/v1/consumers/1234/offers?offerCode=SPRING20");
    EXPECT_TRUE(result.valid);
    EXPECT_FALSE(result.amountOff);
    EXPECT_FALSE(result.error);
    EXPECT_FALSE(result.exception);
    EXPECT_EQ(result.prices(), (std::vector<Text>{"8.000000", "4.000000"}));
    ASSERT_EQ(result.products->size(), 2U);
    for (std::size_t index = 0; index < 2; ++index) {
        auto priced = std::dynamic_pointer_cast<QVCReservationProduct>(result.products->at(index));
        ASSERT_TRUE(priced);
        EXPECT_NE(priced, basket[index]);
        EXPECT_EQ(priced->quantity, basket[index]->quantity);
        // Only quantity, taxable and the price are carried over.
        EXPECT_EQ(priced->productId, -1);
        EXPECT_FALSE(priced->name);
        EXPECT_FALSE(priced->categories);
    }
    // The basket itself is left alone.
    EXPECT_EQ(basket[0]->price, Text("10"));
}

TEST_P(OfferValidationTest, TheRulesSeeTheBasketTotal) {
    QVCJSON atTotal = percentOffer();
    atTotal["offer"]["offerDetails"]["offerRules"]["minPurchaseLimit"] = "25";
    EXPECT_EQ(validate(QVCJSON::array({atTotal}), basket).prices(), (std::vector<Text>{"8.000000", "4.000000"}));

    QVCJSON aboveTotal = percentOffer();
    aboveTotal["offer"]["offerDetails"]["offerRules"]["minPurchaseLimit"] = "25.000001";
    handler = std::make_shared<QVCScriptedWebServiceHandler>(GetParam());
    manager->setWebServiceHandler(handler);
    EXPECT_EQ(validate(QVCJSON::array({aboveTotal}), basket).prices(), (std::vector<Text>{"10", "5"}));
}

TEST_P(OfferValidationTest, RejectedProductsKeepTheirOwnPriceTextAndTheOfferStaysValid) {
    QVCJSON entry = percentOffer();
    entry["offer"]["offerDetails"]["offerRules"]["minPurchaseLimit"] = 30;
    Products own = {basketProduct(11, "10.0", 2), basketProduct(12, std::nullopt, 1)};
    const auto result = validate(QVCJSON::array({entry}), own);
    EXPECT_TRUE(result.valid);
    EXPECT_EQ(result.prices(), (std::vector<Text>{"10.0", std::nullopt}));
    EXPECT_FALSE(result.error);
}

TEST_P(OfferValidationTest, EachProductIsCheckedAgainstTheOffersProducts) {
    Products mixed = {basketProduct(11, "10", 1), basketProduct(99, "10", 1), basketProduct(12, "2.5", 4)};
    EXPECT_EQ(validate(QVCJSON::array({percentOffer()}), mixed).prices(),
              (std::vector<Text>{"8.000000", "10", "2.000000"}));
}

TEST_P(OfferValidationTest, TaxableComesOnlyFromReservationProducts) {
    auto taxed = std::make_shared<QVCReservationProduct>();
    taxed->productId = 11;
    taxed->price = "1";
    taxed->taxable = true;
    auto untaxed = std::make_shared<QVCReservationProduct>(*taxed);
    untaxed->taxable = false;
    const auto result = validate(QVCJSON::array({percentOffer()}), Products{taxed, untaxed, basketProduct(11, "1", 1)});
    ASSERT_EQ(result.products->size(), 3U);
    EXPECT_TRUE(std::static_pointer_cast<QVCReservationProduct>(result.products->at(0))->taxable);
    EXPECT_FALSE(std::static_pointer_cast<QVCReservationProduct>(result.products->at(1))->taxable);
    EXPECT_FALSE(std::static_pointer_cast<QVCReservationProduct>(result.products->at(2))->taxable);
}

TEST_P(OfferValidationTest, WithoutAPercentageTheFactorIsOne) {
    QVCJSON entry = percentOffer();
    entry["offer"]["offerDetails"]["offerType"].erase("dollarPercentageOff");
    EXPECT_EQ(validate(QVCJSON::array({entry}), basket).prices(), (std::vector<Text>{"10.000000", "5.000000"}));
}

TEST_P(OfferValidationTest, AnEmptyOrAbsentBasketGivesAnEmptyList) {
    for (const auto& products : {std::optional<Products>(Products{}), std::optional<Products>()}) {
        handler = std::make_shared<QVCScriptedWebServiceHandler>(GetParam());
        manager->setWebServiceHandler(handler);
        const auto result = validate(QVCJSON::array({percentOffer()}), products);
        EXPECT_TRUE(result.valid);
        ASSERT_TRUE(result.products);
        EXPECT_TRUE(result.products->empty());
    }
}

TEST_P(OfferValidationTest, AnyOtherTypeHandsBackTheAmountOffAndTheBasketUnchecked) {
    for (const char* type : {"Percent Off", "AMOUNT OFF", "PERCENT  OFF"}) {
        QVCJSON entry = offerEntry("c-1", "X", type);
        entry["offer"]["offerDetails"]["offerType"]["loyaltyPoints"] = "1000";
        handler = std::make_shared<QVCScriptedWebServiceHandler>(GetParam());
        manager->setWebServiceHandler(handler);
        const auto result = validate(QVCJSON::array({entry}), basket);
        EXPECT_TRUE(result.valid) << type;
        EXPECT_EQ(result.amountOff, Text("5.50"));
        ASSERT_TRUE(result.products);
        EXPECT_EQ(*result.products, basket);
    }
}

TEST_P(OfferValidationTest, ALookupErrorIsPassedOn) {
    const auto result = validate(QVCJSON::array(), basket);
    EXPECT_FALSE(result.valid);
    EXPECT_FALSE(result.products);
    EXPECT_FALSE(result.amountOff);
    EXPECT_EQ(onlyMessage(result.error), "This offer is not valid any more");
    EXPECT_FALSE(result.exception);
}

TEST_P(OfferValidationTest, ALookupWithoutOfferOrErrorGivesTheBasketBackInvalid) {
    const auto result = validate(QVCJSON::object(), basket);
    EXPECT_FALSE(result.valid);
    ASSERT_TRUE(result.products);
    EXPECT_EQ(*result.products, basket);
    EXPECT_FALSE(result.error);
    EXPECT_FALSE(result.exception);
}

TEST_P(OfferValidationTest, AnOfferTheReaderRefusesEndsAsTheLookupsException) {
    QVCJSON broken = percentOffer();
    broken["offer"] = 1;
    handler->answerWithBody(QVCJSON::array({broken}));
    ValidationResult result;
    manager->validateOfferWithOfferCode("X", basket, result.completion());
    expectAnswerException(result, "cannot read key \"offerId\" of offer: it is a number, not an object");
    EXPECT_FALSE(result.valid);
    EXPECT_FALSE(result.products);
}

}  // namespace
