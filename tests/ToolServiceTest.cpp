// Every subcommand of the qvconsumer tool, run as a separate process against the reference service.
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ProcessTestSupport.h"
#include "ServiceTestSupport.h"

namespace {

using ToolService = ServiceTest;

TEST_F(ToolService, EverySubcommandIsServedAndWhatItChangesIsStored) {
    struct Step {
        std::vector<std::string> arguments;
        int status;
        /// On success, values by JSON pointer into the output; on failure, a text of the message.
        nlohmann::json expected;
    };
    const std::vector<Step> steps = {
        {{"master-data"}, 0, {{"/ageRangeTypes/0/description", "18-24"}, {"/states/0/stateCode", "AZ"}}},
        {{"authenticate", "asmith"}, 0, {{"/consumerID", 1002}, {"/userName", "asmith"}, {"/city", "Denver"}}},
        {{"sign-up", "--user-name", "ann", "--first-name", "Ann", "--last-name", "Lee", "--email", "ann@example.com",
          "--city", "Boston"},
         0,
         {{"/consumerID", 1003}}},
        {{"authenticate", "ann"}, 0, {{"/lastName", "Lee"}, {"/email", "ann@example.com"}, {"/city", "Boston"}}},
        {{"--user", "ann", "update-profile", "--city", "Tucson"}, 0, {{"/city", "Tucson"}}},
        {{"authenticate", "ann"}, 0, {{"/city", "Tucson"}, {"/email", "ann@example.com"}}},
        {{"--user", "jdoe", "loyalty"}, 0, {{"/points", 1250}, {"/status", "Gold"}}},
        {{"offers", "--user", "jdoe"},  // global options may follow the command
         0,
         {{"/0/offerCode", "SAVE10"}, {"/0/type", "PERCENT OFF"}, {"/8/offerCode", "ELEC50"}}},
        {{"--user", "jdoe", "offer", "502"}, 0, {{"/offerCode", "FIVEOFF25"}}},
        {{"--user", "jdoe", "offer-code", " GOLD 20 "}, 0, {{"/consumerOfferId", "9003"}}},
        {{"--user", "jdoe", "offer-code", "gold20"}, 3, "This offer is not valid any more"},
        {{"--user", "jdoe", "validate", "FIVEOFF25", "--item", "101:12.50:2"},
         0,
         {{"/amountOff", "5.00"}, {"/basket/0/discountedPrice", nullptr}}},
        {{"--user", "jdoe", "rules-check", "GOLD20", "--cart-total", "20"},
         0,
         {{"/passed", false}, {"/reason", "Purchase amount is lower than minimum transaction amount"}}},
        {{"--user", "jdoe", "redeem", "SAVE10", "--amount", "10", "--reference", "R-1"},
         0,
         {{"/location", "lqsapi/consumers/v1/redemptions/70001"}}},
        {{"--user", "jdoe", "redeem", "SAVE10", "--amount", "10", "--reference", "R-2"},
         3,
         "the service answered with status 409: offer SAVE10 has reached its redeem limit of 1"},
        {{"--user", "jdoe", "push-token", "tok-1"}, 0, {{"/registered", true}, {"/consumerID", 1001}}},
    };
    const std::vector<std::string> settings = {"QVCONSUMER_SERVICE_URL=" + service->url(),
                                               std::string("QVCONSUMER_APP_ID=") + appID,
                                               std::string("QVCONSUMER_APP_KEY=") + appKey};
    for (const auto& [arguments, status, expected] : steps) {
        auto command = arguments;
        command.insert(command.begin(), {"--env", "live", "--json"});
        const ToolRun run = runTool(command, "", settings);
        const std::string shown = ::testing::PrintToString(arguments);
        ASSERT_EQ(run.status, status) << shown << ": " << run.err;
        if (status != 0) {
            EXPECT_THAT(run.err, HasSubstr(expected.get<std::string>())) << shown;
            continue;
        }
        const auto out = nlohmann::json::parse(run.out);
        for (const auto& [pointer, value] : expected.items()) {
            const nlohmann::json::json_pointer at(pointer);
            EXPECT_EQ(out.contains(at) ? out.at(at) : nlohmann::json("(absent)"), value) << shown << pointer;
        }
    }
    const auto stored = state();
    EXPECT_EQ(stored["redemptions"].size(), 1u);
    ASSERT_EQ(stored["deviceTokens"].size(), 1u);
    EXPECT_EQ(stored["deviceTokens"][0]["consumerId"], 1001);
    EXPECT_EQ(stored["deviceTokens"][0]["deviceToken"], "tok-1");
}

}  // namespace
