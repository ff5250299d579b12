#include <filesystem>
#include <fstream>
#include <tuple>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCMasterData.h"
#include "TestSupport.h"

namespace {

/// A master data document as the service sends it (tests/data/MasterData.json):
/// every list, numbers and texts mixed, the quirks of the format included.
const QVCJSON& realisticDocument() {
    static const QVCJSON document =
        QVCJSON::parse(std::ifstream(std::filesystem::path(__FILE__).parent_path() / "data" / "MasterData.json"));
    return document;
}

/// active, description, code, sort order
using Row = std::tuple<bool, std::optional<std::string>, std::int64_t, std::int64_t>;

std::vector<Row> rows(const QVCMasterData::MasterTypes& types) {
    std::vector<Row> result;
    for (const auto& type : types) {
        result.emplace_back(type->activeFlag, type->typeDescription, type->typeCode, type->sortOrder);
    }
    return result;
}

using MasterDataResult = Record<QVConsumerManager::MasterDataCompletion>;

using MasterDataRetrievalTest = ManagerTest;
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(MasterDataRetrievalTest);

TEST_P(MasterDataRetrievalTest, HandsBackTheReadDocumentOrTheErrorOfAnAnswerOfAnotherShape) {
    auto serviceError = QVCErrorResponse::initWithErrorMessages({"not available"});
    handler->answerWithBody({{"consumerRs", realisticDocument()}});
    handler->answerWith(QVCResponse(QVCJSON{{"consumerRs", {realisticDocument()}}}, {}, serviceError));
    handler->answerWith(QVCResponse(QVCJSON{{"other", realisticDocument()}}, {}, nullptr));
    std::vector<MasterDataResult> results(3);
    for (auto& result : results) {
        manager->getMasterDataWithCompletionWithCompletion(result.completion());
    }
    deliver();
    const auto request = handler->lastRequest();
    EXPECT_EQ(request.path + " " + request.contextMessageType, "lqsapi/consumers/v1/data consumers");
    EXPECT_TRUE(request.httpMethod == 0 && request.responseType == 0 && !request.headers && !request.body);
    EXPECT_EQ(request.simulateFilePath, manager->simulatePath());
    ASSERT_TRUE(results[0].get<0>());
    EXPECT_EQ(results[0].get<0>()->states.size(), 3u);
    EXPECT_EQ(results[1].error(), serviceError);  // an array under the key: nothing read
    EXPECT_FALSE(results[0].error() || results[1].get<0>() || results[2].get<0>() || results[2].error());
    EXPECT_EQ(results[0].calls + results[1].calls + results[2].calls, 3);
    EXPECT_FALSE(results[0].exception() || results[1].exception() || results[2].exception());
}

TEST(MasterDataReading, ReadsEveryListOfARealisticDocumentInOrder) {
    const auto data = QVCMasterData::initWithResponse(realisticDocument());
    // Texts give their leading digits, numbers are truncated; other values are kept as their "%@" text.
    EXPECT_EQ(rows(data->ageRangeTypes),
              (std::vector<Row>{{true, "18-24", 1, 2}, {false, "25-34", 2, 1}, {true, "35", 3, 3}}));
    EXPECT_EQ(rows(data->maritalStatusTypes), (std::vector<Row>{{true, "Single", 10, 1}, {false, "Married", 11, 2}}));
    EXPECT_EQ(rows(data->incomeRangeTypes), (std::vector<Row>{{true, "<25k", 20, 1}, {false, std::nullopt, 21, 0}}));
    EXPECT_EQ(rows(data->educationTypes),
              (std::vector<Row>{{true, "High school", 40, 1}, {true, R"({"en":"College"})", 41, 1}}));
    EXPECT_EQ(rows(data->occupationTypes), (std::vector<Row>{{true, "Engineer", 50, 7}, {false, "Teacher", 51, 8}}));
    // Consumer groups and merchant types take their code from "occupationTypeCode" only.
    EXPECT_EQ(rows(data->consumerGroupTypes), (std::vector<Row>{{true, "Students", 30, 1}, {true, "Seniors", 0, 2}}));
    EXPECT_EQ(rows(data->merchantTypes), (std::vector<Row>{{true, "Grocery", 60, 1}, {true, "Fuel", 0, 2}}));

    const auto& states = data->states;
    ASSERT_EQ(states.size(), 3u);
    EXPECT_EQ(states[1]->sortOrder, 2);
    EXPECT_EQ(std::vector<std::optional<std::string>>({states[0]->typeDescription, states[0]->stateID->stateCode,
                                                       states[0]->stateID->countryCode, states[1]->stateID->stateCode,
                                                       states[1]->stateID->countryCode, states[2]->stateID->stateCode}),
              std::vector<std::optional<std::string>>({"California", "CA", "US", "12", std::nullopt, std::nullopt}));

    // Countries take the sort position of the occupation at the same index (7, 8), not their own (5, 6).
    const auto& country = data->country;
    ASSERT_EQ(country.size(), 2u);
    EXPECT_EQ(*country[0]->countryCode + " " + *country[1]->typeDescription, "US Canada");
    EXPECT_EQ(std::vector<std::int64_t>({country[0]->sortOrder, country[1]->sortOrder}),
              std::vector<std::int64_t>({7, 8}));
}

TEST(MasterDataReading, MissingListsAreEmptyGendersFixedAndOnlyYIsActiveButForStates) {
    auto data = QVCMasterData::initWithResponse({{"genderTypes", {"Other"}}});
    EXPECT_EQ(data->genderTypes, (std::vector<std::string>{"Male", "Female"}));
    EXPECT_TRUE(data->ageRangeTypes.empty() && data->states.empty() && data->country.empty());
    // Without occupations the countries have no sort position to take.
    QVCJSON withoutOccupations = realisticDocument();
    withoutOccupations.erase("occupationTypes");
    data = QVCMasterData::initWithResponse(withoutOccupations);
    ASSERT_EQ(data->country.size(), 2u);
    EXPECT_EQ(data->country[0]->sortOrder + data->country[1]->sortOrder, 0);

    const QVCJSON entries = QVCJSON::parse(R"([{"activeFlag": "Y"}, {"activeFlag": " Y"}, {"activeFlag": "Yes"}, {}])");
    data = QVCMasterData::initWithResponse({{"occupationTypes", entries}, {"country", entries}, {"states", entries}});
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(data->occupationTypes[i]->activeFlag, i == 0) << i;
        EXPECT_EQ(data->country[i]->activeFlag, i == 0) << i;
        EXPECT_EQ(data->states[i]->activeFlag, i != 3) << i;
    }
    // A state is active for any value under the key, null and other kinds included.
    data = QVCMasterData::initWithResponse(QVCJSON::parse(R"({"states": [{"activeFlag": null}, {"activeFlag": 0}]})"));
    EXPECT_TRUE(data->states[0]->activeFlag && data->states[1]->activeFlag);
}

TEST(MasterDataReading, MalformedDocumentsRaiseNamingListIndexAndKey) {
    struct Fault {
        const char* where;  // a JSON pointer into the realistic document
        QVCJSON value;
        const char* message;
    };
    const std::vector<Fault> faults = {
        {"", QVCJSON::array(),
         "cannot read key \"ageRangeTypes\" of the master data document: it is an array, not an object"},
        {"/merchantTypes", nullptr, "cannot count the elements of merchantTypes: it is null, not an array"},
        {"/maritalStatusTypes/1/activeFlag", true, "maritalStatusTypes[1].activeFlag is a boolean, not a string"},
        {"/ageRangeTypes/0/activeFlag", nullptr, "ageRangeTypes[0].activeFlag is null, not a string"},
        {"/country/1/activeFlag", nullptr, "country[1].activeFlag is null, not a string"},
        {"/incomeRangeTypes/1/incomeRangeTypeCode", nullptr,
         "incomeRangeTypes[1].incomeRangeTypeCode is null and has no integer value"},
        {"/states/2/id", "CA", "cannot read key \"stateCode\" of states[2].id: it is a string, not an object"},
        {"/country/2", QVCJSON::object(),
         "country[2].sortOrder is read from occupationTypes[2], which does not exist: occupationTypes holds 2 "
         "elements"},
    };
    for (const Fault& fault : faults) {
        QVCJSON document = realisticDocument();
        document[QVCJSON::json_pointer(fault.where)] = fault.value;
        EXPECT_EQ(messageOf([&] { QVCMasterData::initWithResponse(document); }), fault.message) << fault.where;
    }
    // The lists are read in a fixed order: the earlier list's fault is the one reported.
    QVCJSON document = realisticDocument();
    document["occupationTypes"] = "x", document["consumerGroupTypes"] = {7};
    EXPECT_EQ(messageOf([&] { QVCMasterData::initWithResponse(document); }),
              "cannot read key \"activeFlag\" of consumerGroupTypes[0]: it is a number, not an object");
}

}  // namespace
