#include "OffersTestSupport.h"

namespace {

class OfferRulesTest : public ::testing::Test {
protected:
    std::shared_ptr<QVCScriptedWebServiceHandler> handler = std::make_shared<QVCScriptedWebServiceHandler>();
    std::shared_ptr<QVConsumerManager> manager = makeManager(handler);
    std::shared_ptr<QVCOffer> offer = std::make_shared<QVCOffer>();

    /// The check's message, "" when it passed; its completion must have run before it returned.
    std::string check(const Text& cartTotal, std::int64_t productId = 0) {
        auto product = std::make_shared<QVCProduct>();
        product->productId = productId;
        Record<QVConsumerManager::RulesCheckCompletion> result;
        manager->offerRulesCheck(offer, cartTotal, productId ? product : nullptr, result.completion());
        EXPECT_EQ(result.calls, 1);
        EXPECT_EQ(result.get<0>(), !result.get<1>());
        EXPECT_EQ(handler->requestCount(), 0U);
        return onlyMessage(result.get<1>());
    }
};

TEST_F(OfferRulesTest, LimitsAreCheckedInOrderAndEqualPasses) {
    const std::string belowMinimum = "Purchase amount is lower than minimum transaction amount";
    offer->offerDetails->rule->minPurchaseLimit = "50";
    offer->offerDetails->type->loyaltyPoint = "100";
    manager->setLoyalty("100");
    EXPECT_EQ(check("50.000000"), "");
    EXPECT_EQ(check("49.990000"), belowMinimum);
    EXPECT_EQ(check("fifty"), belowMinimum);
    manager->setLoyalty(std::nullopt);
    EXPECT_EQ(check("49"), belowMinimum);
    EXPECT_EQ(check("50"), "You do not have enough loyalty points to use this offer");
    offer->offerDetails->type = nullptr;
    offer->offerDetails->rule->minPurchaseLimit = "(null)";
    EXPECT_EQ(check("0"), "");
    EXPECT_EQ(check("-0.5"), belowMinimum);
}

TEST_F(OfferRulesTest, TheProductMustBeOneOfTheOffersUnlessItNamesNone) {
    EXPECT_EQ(check("0", 9), "");
    offer->offerDetails->products = std::nullopt;
    EXPECT_EQ(check("0", 9), "");
    offer->offerDetails->products =
        OfferDetails::Products{std::make_shared<QVCReservationProduct>(), std::make_shared<QVCReservationProduct>()};
    offer->offerDetails->products->back()->productId = 6;
    EXPECT_EQ(check("0", 6), "");
    EXPECT_EQ(check("0"), "");
    EXPECT_EQ(check("0", 7), "Product ID does not match");
    offer = nullptr;
    EXPECT_EQ(check("0", 7), "");
}

}  // namespace
