#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "QVConsumer/QVConsumerManager.h"
#include "TransportTestSupport.h"
#include "platform/QVCEnvironment.h"
#include "platform/QVCSimulationFile.h"

namespace {

const std::string shippedPath = std::string(QVC_SOURCE_RESOURCE_DIR) + "/QVConsumerSimulate.json";
const std::string consumer = "lqsapi/consumers/v1/consumer/";
const std::string offers = "lqsapi/consumers/v1/consumers/1001/offers";

class ShippedSimulation : public ::testing::Test {
protected:
    void SetUp() override { file_ = QVCSimulationFile::load(shippedPath); }

    /// The body of a successful answer to the request, exactly as the library sends it.
    QVCJSON body(const std::string& method, const std::string& path) {
        QVCResponse response = file_->answer(method, path);
        EXPECT_FALSE(response.error()) << method << " " << path << ": " << describe(response);
        EXPECT_TRUE(response.body()) << method << " " << path;
        return response.body().value_or(QVCJSON());
    }

    std::shared_ptr<QVCSimulationFile> file_;
};

/// Every key is present in object and holds a text or number.
void expectLeaves(const QVCJSON& object, std::initializer_list<const char*> keys, const std::string& where) {
    ASSERT_TRUE(object.is_object()) << where;
    for (const char* key : keys) {
        EXPECT_TRUE(object.contains(key) && (object[key].is_string() || object[key].is_number()))
            << where << " lacks \"" << key << "\"";
    }
}

const QVCJSON& firstOf(const QVCJSON& object, const char* key, const std::string& where) {
    static const QVCJSON none;
    EXPECT_TRUE(object.is_object() && object.contains(key) && object[key].is_array() && !object[key].empty())
        << where << ": \"" << key << "\" must be a non-empty array";
    return object.is_object() && object.contains(key) && object[key].is_array() && !object[key].empty() ? object[key][0]
                                                                                                        : none;
}

TEST_F(ShippedSimulation, MasterDataHoldsEveryListWithTheKeysItsReaderTakes) {
    QVCJSON lists = body("GET", "lqsapi/consumers/v1/data")["consumerRs"];
    ASSERT_TRUE(lists.is_object());
    const std::vector<std::pair<const char*, const char*>> codeKeys = {
        {"ageRangeTypes", "ageRangeTypeCode"},       {"maritalStatusTypes", "maritalStatusTypeCode"},
        {"incomeRangeTypes", "incomeRangeTypeCode"}, {"consumerGroupTypes", "occupationTypeCode"},
        {"educationTypes", "educationTypeCode"},     {"occupationTypes", "occupationTypeCode"},
        {"merchantTypes", "occupationTypeCode"}};
    for (const auto& [list, code] : codeKeys) {
        ASSERT_TRUE(lists[list].is_array() && lists[list].size() >= 3) << list;
        for (const auto& item : lists[list]) {
            expectLeaves(item, {"activeFlag", "description", code, "sortOrder"}, list);
            EXPECT_EQ(item["activeFlag"], "Y") << list;
        }
    }
    ASSERT_TRUE(lists["states"].is_array() && !lists["states"].empty());
    for (const auto& state : lists["states"]) {
        expectLeaves(state, {"activeFlag", "sortOrder", "description"}, "states");
        expectLeaves(state["id"], {"stateCode", "countryCode"}, "states.id");
    }
    ASSERT_TRUE(lists["country"].is_array() && !lists["country"].empty());
    for (const auto& country : lists["country"]) {
        expectLeaves(country, {"countryCode", "activeFlag", "description"}, "country");
    }
    // A country takes its sort position from the occupation at the same index.
    EXPECT_LE(lists["country"].size(), lists["occupationTypes"].size());
}

TEST_F(ShippedSimulation, TwoConsumersAuthenticateAndAnUnknownOneGets404) {
    std::set<std::int64_t> ids;
    for (const std::string user : {"jdoe", "asmith"}) {
        QVCJSON consumers = body("GET", consumer + user + "/authenticate")["consumers"];
        ASSERT_TRUE(consumers.is_array() && !consumers.empty()) << user;
        const QVCJSON& document = consumers[0];
        expectLeaves(document, {"consumerId", "userId", "genderTypeCode", "activeFlag", "preferEmailFlag"}, user);
        ids.insert(document["consumerId"].get<std::int64_t>());
        const QVCJSON& contact = firstOf(document, "contactList", user);
        expectLeaves(contact, {"firstName", "lastName", "contactId"}, user + " contact");
        expectLeaves(firstOf(contact, "address", user), {"addressLine1", "city", "postalCode", "stateCode"}, user);
        expectLeaves(firstOf(contact, "email", user), {"emailAddress", "confirmedFlag"}, user);
        expectLeaves(firstOf(contact, "phone", user), {"phoneNumber", "confirmedFlag"}, user);
        expectLeaves(firstOf(document, "company", user)["companyLoyalty"]["loyalty"], {"loyaltyId"}, user);
        EXPECT_TRUE(firstOf(document, "consumerGroup", user)["consumerGroupType"].contains("groupCode"));
        EXPECT_TRUE(firstOf(document, "consumerMerchantType", user)["merchantType"].contains("merchantTypeCode"));
    }
    EXPECT_EQ(ids.size(), 2u);

    QVCResponse unknown = file_->answer("GET", consumer + "nobody/authenticate");
    ASSERT_TRUE(unknown.body());
    EXPECT_EQ(unknown.objectForKey("httpResponseCode") ? *unknown.objectForKey("httpResponseCode") : QVCJSON(), 404);
}

TEST_F(ShippedSimulation, SignUpUpdateLoyaltyAndPushAnswerAsTheirOperationsRead) {
    QVCJSON signedUp = body("POST", "lqsapi/consumers/v1/consumer");
    ASSERT_TRUE(signedUp["consumers"].is_object());
    EXPECT_TRUE(signedUp["consumers"].contains("consumerId"));

    QVCJSON balance = body("GET", consumer + "1001/balance/loyalty")["consumerRs"];
    ASSERT_TRUE(balance.is_array() && !balance.empty());
    EXPECT_TRUE(balance[0]["loyaltyPoints"].is_number());
    expectLeaves(firstOf(balance[0], "loyaltyConsumerStatusResponse", "balance"), {"description"}, "status");

    EXPECT_FALSE(file_->answer("POST", consumer + "1001/device").error());
}

TEST_F(ShippedSimulation, OffersAreListedAndEachIsReachableByIdAndByCode) {
    QVCJSON list = body("GET", offers + "?facilityId=7");
    ASSERT_TRUE(list.is_array());
    EXPECT_GE(list.size(), 8u);
    int percent = 0, amount = 0, minimums = 0, costsPoints = 0, withProducts = 0;
    for (const auto& offer : list) {
        expectLeaves(offer, {"consumerOfferId", "offerCode"}, "offer");
        const QVCJSON& inner = offer["offer"];
        expectLeaves(inner, {"offerId", "offerName", "offerDescription"}, offer["offerCode"].dump());
        const QVCJSON& details = inner["offerDetails"];
        ASSERT_TRUE(details["offerRules"].is_object() && details["offerType"].is_object());
        const QVCJSON& type = details["offerType"];
        if (type["type"] == "PERCENT OFF") {
            percent += type.contains("dollarPercentageOff");
        } else {
            amount += type.contains("dollarAmountOff");
        }
        minimums += details["offerRules"].contains("minPurchaseLimit");
        costsPoints += type.contains("loyaltyPoints") && type["loyaltyPoints"] != "0";
        for (const auto& product : details["associatedProduct"]) {
            expectLeaves(product, {"productName", "productId"}, "associatedProduct");
            ++withProducts;
        }

        std::string id = inner["offerId"].get<std::string>();
        EXPECT_EQ(body("GET", offers + "/" + id), offer) << "by id " << id;
        std::string code = offer["offerCode"].get<std::string>();
        EXPECT_EQ(body("GET", offers + "?offerCode=" + code), QVCJSON::array({offer})) << "by code " << code;

        QVCResponse redeemed =
            file_->answer("POST", offers + "/" + offer["consumerOfferId"].get<std::string>() + "/redeems");
        EXPECT_FALSE(redeemed.error());
        EXPECT_TRUE(redeemed.headerValue("location"));
    }
    EXPECT_GE(percent, 2);
    EXPECT_GE(amount, 2);
    EXPECT_GE(minimums, 2);
    EXPECT_GE(costsPoints, 2);
    EXPECT_GE(withProducts, 4);
    EXPECT_EQ(body("GET", offers + "?offerCode=NOSUCHCODE"), QVCJSON::array());
}

TEST(SimulationEnvironment, AManagerAnswersFromTheShippedFileOnTheTransportThread) {
    auto manager = QVConsumerManager::initWithAppID("app", "key", std::make_shared<QVCCompanyInfo>(), "1001",
                                                    QVCEnvironmentSimulation, nullptr);
    ASSERT_TRUE(manager && manager->simulatePath());
    std::promise<std::string> hooked;
    manager->setAnswerExceptionHook([&](std::exception_ptr exception) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& error) {
            hooked.set_value(error.what());
        }
    });
    std::optional<bool> success;
    std::thread::id thread;
    manager->setPushDeviceToken("token", [&](bool ok, QVConsumerManager::Error error, std::exception_ptr) {
        success = ok && !error;
        thread = std::this_thread::get_id();
        throw std::runtime_error("host completion failed");
    });
    auto escaped = hooked.get_future();
    ASSERT_EQ(escaped.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(escaped.get(), "host completion failed") << "the exception reached the host's hook, not the process";
    EXPECT_EQ(success, std::optional<bool>(true));
    EXPECT_NE(thread, std::this_thread::get_id());
}

}  // namespace
