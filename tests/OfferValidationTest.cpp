#include "OffersTestSupport.h"

namespace {

using Products = QVConsumerManager::Products;

std::shared_ptr<QVCProduct> item(std::int64_t id, const Text& price, std::int64_t quantity) {
    auto product = std::make_shared<QVCReservationProduct>();
    product->productId = id;
    product->price = price;
    product->quantity = quantity;
    product->taxable = id == 11;
    return product;
}

class OfferValidationTest : public ManagerTest {
protected:
    /// Ten at 2 and five at 1: a total of 25.
    Products basket = {item(11, "10", 2), item(12, "5", 1)};
    Record<QVConsumerManager::ValidationCompletion> result;

    void validate(const QVCJSON& answer, std::optional<Products> products, const QVCJSON& minimum = nullptr) {
        QVCJSON body = answer;
        if (body.is_array() && !body.empty()) {
            body[0]["offer"]["offerDetails"]["offerRules"]["minPurchaseLimit"] = minimum;
        }
        handler->answerWithBody(body);
        result.calls = 0;
        manager->validateOfferWithOfferCode("SPRING 20", std::move(products), result.completion());
        deliver();
        EXPECT_EQ(result.calls, 1);
    }

    std::shared_ptr<QVCReservationProduct> answered(std::size_t index) const {
        return std::dynamic_pointer_cast<QVCReservationProduct>(result.get<1>()->at(index));
    }
};
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(OfferValidationTest);

TEST_P(OfferValidationTest, APercentageOfferPricesEachProductPerUnitWhenTheRulesPass) {
    basket.push_back(std::make_shared<QVCProduct>());  // id -1: not one of the offer's products
    validate(QVCJSON::array({offerEntry("c", "S")}), basket, "25");
    EXPECT_TRUE(result.get<0>());
    EXPECT_FALSE(result.get<2>() || result.get<3>() || result.exception());
    EXPECT_EQ(answered(0)->price, Text("8.000000"));
    EXPECT_EQ(answered(1)->price, Text("4.000000"));
    EXPECT_EQ(answered(2)->price, Text("0"));
    EXPECT_TRUE(answered(0)->productId == -1 && answered(0)->quantity == 2 && answered(0)->taxable);
    EXPECT_FALSE(answered(1)->taxable);

    basket[0]->price = "10.0";
    validate(QVCJSON::array({offerEntry("c", "S")}), basket, "25.000001");
    EXPECT_TRUE(result.get<0>());
    EXPECT_EQ(answered(0)->price, Text("10.0"));
}

TEST_P(OfferValidationTest, AnyOtherTypeHandsBackTheAmountOffWithoutRulesCheck) {
    validate(QVCJSON::array({offerEntry("c", "S", "Percent Off")}), basket, "1000");
    EXPECT_TRUE(result.get<0>());
    EXPECT_EQ(result.get<2>(), Text("5.50"));
    EXPECT_EQ(result.get<1>(), std::optional<Products>(basket));
}

TEST_P(OfferValidationTest, AnAbsentBasketGivesAnEmptyListAndLookupFailuresPassThrough) {
    validate(QVCJSON::array({offerEntry("c", "S")}), std::nullopt);
    EXPECT_TRUE(result.get<0>() && result.get<1>() && result.get<1>()->empty());
    validate(QVCJSON::array(), basket);
    EXPECT_FALSE(result.get<0>() || result.get<1>());
    EXPECT_EQ(onlyMessage(result.get<3>()), "This offer is not valid any more");
    validate(QVCJSON::object(), basket);
    EXPECT_FALSE(result.get<0>() || result.get<3>());
    EXPECT_EQ(result.get<1>(), std::optional<Products>(basket));
}

}  // namespace
