#include <gtest/gtest.h>

#include "OffersTestSupport.h"

namespace {

struct RulesOutcome {
    int calls = 0;
    bool passed = false;
    std::string message;
};

class OfferRulesTest : public ::testing::Test {
protected:
    std::shared_ptr<QVCScriptedWebServiceHandler> handler = std::make_shared<QVCScriptedWebServiceHandler>();
    std::shared_ptr<QVConsumerManager> manager = makeManager(handler);
    std::shared_ptr<QVCOffer> offer = std::make_shared<QVCOffer>();

    /// Runs the check and returns what its completion received before it returned.
    RulesOutcome check(const std::optional<std::string>& cartTotal, std::shared_ptr<QVCProduct> product = nullptr) {
        RulesOutcome outcome;
        manager->offerRulesCheck(offer, cartTotal, std::move(product),
                                 [&outcome](bool passed, QVConsumerManager::Error error) {
                                     ++outcome.calls;
                                     outcome.passed = passed;
                                     EXPECT_EQ(passed, error == nullptr);
                                     outcome.message = onlyMessage(error);
                                 });
        EXPECT_EQ(outcome.calls, 1);
        EXPECT_EQ(handler->requestCount(), 0U);
        return outcome;
    }

    void listProducts(std::initializer_list<std::int64_t> ids) {
        offer->offerDetails->products = OfferDetails::Products{};
        for (auto id : ids) {
            auto product = std::make_shared<QVCReservationProduct>();
            product->productId = id;
            offer->offerDetails->products->push_back(product);
        }
    }

    static std::shared_ptr<QVCProduct> productWithId(std::int64_t id) {
        auto product = std::make_shared<QVCProduct>();
        product->productId = id;
        return product;
    }
};

const char* const belowMinimum = "Purchase amount is lower than minimum transaction amount";
const char* const notEnoughPoints = "You do not have enough loyalty points to use this offer";
const char* const noProductMatch = "Product ID does not match";

TEST_F(OfferRulesTest, AFreshOfferPassesForAnyProduct) {
    EXPECT_TRUE(check("0", productWithId(5)).passed);
}

TEST_F(OfferRulesTest, ATotalEqualToTheMinimumPasses) {
    offer->offerDetails->rule->minPurchaseLimit = "50";
    EXPECT_TRUE(check("50.000000").passed);
    const auto below = check("49.990000");
    EXPECT_FALSE(below.passed);
    EXPECT_EQ(below.message, belowMinimum);
    // The total is read leniently too: no leading number counts as 0.
    EXPECT_EQ(check("fifty").message, belowMinimum);
    EXPECT_TRUE(check("  75 dollars").passed);
}

TEST_F(OfferRulesTest, AnAbsentOrTextualMinimumCountsAsZero) {
    for (const std::optional<std::string>& minimum :
         {std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>("(null)")}) {
        offer->offerDetails->rule->minPurchaseLimit = minimum;
        EXPECT_TRUE(check("0").passed);
        EXPECT_EQ(check("-0.5").message, belowMinimum);
    }
}

TEST_F(OfferRulesTest, InfiniteValuesCompareAsTheyAre) {
    offer->offerDetails->rule->minPurchaseLimit = "1e999";
    EXPECT_TRUE(check("2e999").passed);
    EXPECT_EQ(check("1e308").message, belowMinimum);
}

TEST_F(OfferRulesTest, TheConsumerNeedsAsManyPointsAsTheOfferCosts) {
    offer->offerDetails->type->loyaltyPoint = "100";
    manager->setLoyalty("100");
    EXPECT_TRUE(check("0").passed);
    manager->setLoyalty("99.5");
    EXPECT_EQ(check("0").message, notEnoughPoints);
    manager->setLoyalty(std::nullopt);
    EXPECT_EQ(check("0").message, notEnoughPoints);
    manager->setLoyalty("");
    EXPECT_EQ(check("0").message, notEnoughPoints);
}

TEST_F(OfferRulesTest, TheMinimumIsReportedBeforeThePoints) {
    offer->offerDetails->rule->minPurchaseLimit = "10";
    offer->offerDetails->type->loyaltyPoint = "10";
    listProducts({1});
    EXPECT_EQ(check("5", productWithId(2)).message, belowMinimum);
    EXPECT_EQ(check("10", productWithId(2)).message, notEnoughPoints);
    manager->setLoyalty("10");
    EXPECT_EQ(check("10", productWithId(2)).message, noProductMatch);
}

TEST_F(OfferRulesTest, WithoutAProductTheProductRuleIsSkipped) {
    listProducts({1, 2});
    EXPECT_TRUE(check("0", nullptr).passed);
}

TEST_F(OfferRulesTest, AnOfferWithoutProductsAppliesToAnyProduct) {
    listProducts({});
    EXPECT_TRUE(check("0", productWithId(9)).passed);
    offer->offerDetails->products = std::nullopt;
    EXPECT_TRUE(check("0", productWithId(9)).passed);
}

TEST_F(OfferRulesTest, TheProductMustBeOneOfTheOffers) {
    listProducts({4, 5, 6});
    EXPECT_TRUE(check("0", productWithId(6)).passed);
    EXPECT_TRUE(check("0", productWithId(4)).passed);
    EXPECT_EQ(check("0", productWithId(7)).message, noProductMatch);
    EXPECT_EQ(check("0", productWithId(-1)).message, noProductMatch);
}

TEST_F(OfferRulesTest, OtherRulesOfTheOfferPlayNoPart) {
    offer->offerDetails->rule->redeemLimit = "0";
    offer->offerDetails->rule->transactionLimit = "0";
    offer->offerDetails->rule->combinable = false;
    EXPECT_TRUE(check("1").passed);
}

TEST_F(OfferRulesTest, AMissingOfferOrSubRecordReadsAsAbsentValues) {
    offer->offerDetails->rule = nullptr;
    offer->offerDetails->type = nullptr;
    EXPECT_TRUE(check("0", productWithId(3)).passed);
    offer = nullptr;
    EXPECT_TRUE(check("0", productWithId(3)).passed);
    EXPECT_NO_THROW(manager->offerRulesCheck(nullptr, "0", nullptr, nullptr));
}

}  // namespace
