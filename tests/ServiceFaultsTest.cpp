// The service's fault table and request documents, without a socket.
#include "TestSupport.h"
#include "service/QVCServiceDocuments.h"
#include "service/QVCServiceFaults.h"

namespace {

using Faults = QVCServiceFaults;
using Delivery = QVCServiceAnswer::Delivery;

TEST(ServiceFaultTable, PatternsAreLiteralPrefixesOrWholeTargetGlobs) {
    const std::string target = "lqsapi/consumers/v1/consumer/1001/balance/loyalty";
    EXPECT_TRUE(Faults::matches("", target));
    EXPECT_TRUE(Faults::matches("lqsapi/consumers/v1/consumer/", target));
    EXPECT_FALSE(Faults::matches("balance/loyalty", target)) << "a literal is a prefix";
    EXPECT_FALSE(Faults::matches("v1/data$", "lqsapi/consumers/v1/data")) << "no regular expressions";
    EXPECT_TRUE(Faults::matches("*balance/loyalty", target));
    EXPECT_TRUE(Faults::matches("*/consumer/?\?\?\?/*", target));
    EXPECT_FALSE(Faults::matches("*/consumer/?\?\?/*", target));
    EXPECT_FALSE(Faults::matches("*balance", target)) << "a glob covers the whole target";
    EXPECT_TRUE(Faults::matches("lqsapi/*/offers?offerCode=*", "lqsapi/consumers/v1/consumers/1/offers?offerCode=X"));
    // The pattern that took a regular-expression engine seconds is one pass here.
    const std::string many(100000, 'a');
    EXPECT_FALSE(Faults::matches("*a*a*a*a*a*a*a*a*a*a*c", many));
    EXPECT_TRUE(Faults::matches("*a*a*a*a*a*a*a*a*a*a*", many));
}

TEST(ServiceFaultTable, FaultsApplyToTheirCountOfMatchingRequestsInOrder) {
    Faults faults;
    faults.add(Faults::parse({{"method", "POST"}, {"path", "*/redeems"}, {"count", 2}, {"status", 500}}));
    faults.add(Faults::parse({{"path", "lqsapi/"}, {"action", "truncate"}}));
    EXPECT_FALSE(faults.take("GET", "x/redeems"));
    EXPECT_EQ(faults.take("POST", "a/redeems")->status, 500);
    EXPECT_EQ(faults.take("POST", "b/redeems")->status, 500);
    EXPECT_EQ(faults.take("POST", "lqsapi/a/redeems")->action, Faults::Action::Truncate);
    EXPECT_FALSE(faults.take("POST", "lqsapi/a/redeems"));
    EXPECT_EQ(faults.pending(), QVCJSON::array());
}

TEST(ServiceFaultTable, EachActionSaysWhetherTheRequestIsAppliedAndHowItIsDelivered) {
    const auto fault = [](const QVCJSON& description) { return Faults::parse(description); };
    const auto status = fault({{"status", 429}, {"retryAfter", 2}}).instead();
    ASSERT_TRUE(status);
    EXPECT_EQ(status->status, 429);
    EXPECT_EQ(status->headers, (std::vector<std::pair<std::string, std::string>>{{"Retry-After", "2"}}));
    EXPECT_EQ(fault({{"action", "reset-before-body"}}).instead()->delivery, Delivery::ResetBeforeBody);
    for (const auto& [action, delivery] :
         std::vector<std::pair<const char*, Delivery>>{{"none", Delivery::Whole},
                                                       {"reset-after-body", Delivery::ResetAfterBody},
                                                       {"truncate", Delivery::Truncate},
                                                       {"not-json", Delivery::Whole}}) {
        const auto applied = fault({{"action", action}});
        EXPECT_FALSE(applied.instead()) << action;
        QVCServiceAnswer answer = QVCServiceDocuments::answer(200, {{"a", 1}});
        applied.spoil(answer);
        EXPECT_EQ(answer.delivery, delivery) << action;
        EXPECT_EQ(answer.body == R"({"a":1})", std::string(action) != "not-json") << action;
    }
}

TEST(ServiceFaultTable, ABadDescriptionIsRefusedNamingTheMember) {
    const std::pair<QVCJSON, const char*> cases[] = {
        {QVCJSON::array(), "a fault must be a JSON object"},
        {{{"method", "PUT"}}, "\"method\" must be \"GET\", \"POST\" or \"*\""},
        {{{"path", 5}}, "\"path\" must be a text"},
        {{{"path", std::string(257, '*')}}, "\"path\" is longer than 256 characters"},
        {{{"count", 0}}, "\"count\" must be a whole number from 1 to 1000000"},
        {{{"action", "explode"}}, "unknown \"action\": explode"},
    };
    for (const auto& [description, message] : cases) {
        try {
            Faults::parse(description);
            ADD_FAILURE() << description.dump();
        } catch (const std::invalid_argument& refused) {
            EXPECT_STREQ(refused.what(), message);
        }
    }
}

TEST(ServiceRequestBodies, NestingIsMeasuredBeforeParsingAndStringsDoNotCount) {
    using Documents = QVCServiceDocuments;
    EXPECT_NO_THROW(Documents::parse(std::string(64, '[') + std::string(64, ']')));
    EXPECT_THROW(Documents::parse(std::string(65, '{') + std::string(65, '}')), Documents::Invalid);
    EXPECT_THROW(Documents::parse(std::string(1000000, '[')), Documents::Invalid) << "unclosed, far too deep";
    const std::string brackets = "\"" + std::string(100, '[') + "\\\"" + std::string(100, '{') + "\"";
    EXPECT_EQ(Documents::parse("[" + brackets + "]").at(0).get<std::string>().size(), 201u);
    EXPECT_THROW(Documents::parse("{"), Documents::Invalid);
}

TEST(ServiceRequestBodies, OfferTermsAreReadFromTheOfferDocument) {
    const auto terms = QVCServiceDocuments::termsOf(
        {{"offerCode", "SAVE"},
         {"offer",
          {{"offerDetails",
            {{"offerRules", {{"individualRedeemLimit", "3"}}}, {"offerType", {{"loyaltyPoints", 40}}}}}}}});
    EXPECT_EQ(terms.code, "SAVE");
    EXPECT_EQ(terms.redeemLimit, 3);
    EXPECT_EQ(terms.points, 40);
    const auto bare = QVCServiceDocuments::termsOf(QVCJSON::object());
    EXPECT_EQ(bare.code, "");
    EXPECT_FALSE(bare.redeemLimit);
    EXPECT_EQ(bare.points, 0);
}

}  // namespace
