#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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

QVCJSON with(const char* key, QVCJSON value) {
    QVCJSON document = realisticDocument();
    document[key] = std::move(value);
    return document;
}

struct Row {
    bool active;
    std::optional<std::string> description;
    std::int64_t code;
    std::int64_t sortOrder;
};

void expectRows(const QVCMasterData::MasterTypes& types, const std::vector<Row>& rows) {
    ASSERT_EQ(types.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE("entry " + std::to_string(i));
        EXPECT_EQ(types[i]->activeFlag, rows[i].active);
        EXPECT_EQ(types[i]->typeDescription, rows[i].description);
        EXPECT_EQ(types[i]->typeCode, rows[i].code);
        EXPECT_EQ(types[i]->sortOrder, rows[i].sortOrder);
    }
}

using MasterDataResult = Record<QVConsumerManager::MasterDataCompletion>;

using MasterDataRetrievalTest = ManagerTest;
QVC_INSTANTIATE_FOR_BOTH_DELIVERIES(MasterDataRetrievalTest);

TEST_P(MasterDataRetrievalTest, ReadsEveryListOfARealisticDocumentInOrder) {
    handler->answerWithBody({{"consumerRs", realisticDocument()}});
    MasterDataResult result;
    manager->getMasterDataWithCompletionWithCompletion(result.completion());
    deliver();

    const auto request = handler->lastRequest();
    EXPECT_EQ(request.path, "lqsapi/consumers/v1/data");
    EXPECT_EQ(request.contextMessageType, "consumers");
    EXPECT_EQ(request.httpMethod, 0);
    EXPECT_EQ(request.responseType, 0);
    EXPECT_FALSE(request.headers || request.body);
    EXPECT_EQ(request.simulateFilePath, manager->simulatePath());
    ASSERT_EQ(result.calls, 1);
    EXPECT_FALSE(result.error() || result.exception());
    ASSERT_TRUE(result.get<0>());
    const QVCMasterData& data = *result.get<0>();

    // Texts give their leading digits, numbers are truncated; other values are kept as their "%@" text.
    expectRows(data.ageRangeTypes, {{true, "18-24", 1, 2}, {false, "25-34", 2, 1}, {true, "35", 3, 3}});
    EXPECT_EQ(data.genderTypes, (std::vector<std::string>{"Male", "Female"}));
    expectRows(data.maritalStatusTypes, {{true, "Single", 10, 1}, {false, "Married", 11, 2}});
    expectRows(data.incomeRangeTypes, {{true, "<25k", 20, 1}, {false, std::nullopt, 21, 0}});
    // Consumer groups and merchant types take their code from "occupationTypeCode" only.
    expectRows(data.consumerGroupTypes, {{true, "Students", 30, 1}, {true, "Seniors", 0, 2}});
    expectRows(data.educationTypes, {{true, "High school", 40, 1}, {true, R"({"en":"College"})", 41, 1}});
    expectRows(data.occupationTypes, {{true, "Engineer", 50, 7}, {false, "Teacher", 51, 8}});
    expectRows(data.merchantTypes, {{true, "Grocery", 60, 1}, {true, "Fuel", 0, 2}});

    // State activity is the presence of the key, "N" included.
    ASSERT_EQ(data.states.size(), 3u);
    const auto& states = data.states;
    EXPECT_EQ(std::vector<bool>({states[0]->activeFlag, states[1]->activeFlag, states[2]->activeFlag}),
              std::vector<bool>({true, true, false}));
    EXPECT_EQ(states[1]->sortOrder, 2);
    EXPECT_EQ(states[0]->typeDescription, "California");
    EXPECT_EQ(states[0]->stateID->stateCode, "CA");
    EXPECT_EQ(states[0]->stateID->countryCode, "US");
    EXPECT_EQ(states[1]->stateID->stateCode, "12");
    EXPECT_FALSE(states[1]->stateID->countryCode || states[2]->stateID->stateCode || states[2]->stateID->countryCode);

    // Countries take the sort position of the occupation at the same index (7, 8), not their own (5, 6).
    ASSERT_EQ(data.country.size(), 2u);
    EXPECT_EQ(data.country[0]->countryCode, "US");
    EXPECT_EQ(data.country[1]->typeDescription, "Canada");
    EXPECT_TRUE(data.country[0]->activeFlag && !data.country[1]->activeFlag);
    EXPECT_EQ(data.country[0]->sortOrder, 7);
    EXPECT_EQ(data.country[1]->sortOrder, 8);
}

TEST_P(MasterDataRetrievalTest, AnswersOfAnotherShapeGiveTheResponseErrorAsItIs) {
    auto serviceError = QVCErrorResponse::initWithErrorMessages({"not available"});
    handler->answerWith(QVCResponse(QVCJSON{{"consumerRs", {realisticDocument()}}}, {}, serviceError));
    handler->answerWith(QVCResponse(QVCJSON{{"other", realisticDocument()}}, {}, nullptr));
    MasterDataResult asArray;
    MasterDataResult withoutKey;
    manager->getMasterDataWithCompletionWithCompletion(asArray.completion());
    manager->getMasterDataWithCompletionWithCompletion(withoutKey.completion());
    deliver();
    EXPECT_EQ(asArray.calls + withoutKey.calls, 2);
    EXPECT_EQ(asArray.error(), serviceError);
    EXPECT_FALSE(asArray.get<0>() || asArray.exception());
    EXPECT_FALSE(withoutKey.get<0>() || withoutKey.error() || withoutKey.exception());
}

TEST_P(MasterDataRetrievalTest, AMalformedDocumentRaisesWhereTheHandlerAnswers) {
    handler->answerWithBody({{"consumerRs", with("states", QVCJSON::object())}});
    MasterDataResult result;
    manager->getMasterDataWithCompletionWithCompletion(result.completion());
    expectAnswerException(result, "states is an object, not an array");
    EXPECT_FALSE(result.get<0>() || result.error());
}

TEST(MasterDataReading, MissingListsAreEmptyAndGendersFixed) {
    auto data = QVCMasterData::initWithResponse(QVCJSON::object());
    ASSERT_TRUE(data);
    EXPECT_EQ(data->genderTypes, (std::vector<std::string>{"Male", "Female"}));
    EXPECT_TRUE(data->ageRangeTypes.empty() && data->maritalStatusTypes.empty() && data->incomeRangeTypes.empty() &&
                data->consumerGroupTypes.empty() && data->educationTypes.empty() && data->states.empty() &&
                data->occupationTypes.empty() && data->country.empty() && data->merchantTypes.empty());

    QVCJSON withoutOccupations = realisticDocument();
    withoutOccupations.erase("occupationTypes");
    data = QVCMasterData::initWithResponse(withoutOccupations);
    ASSERT_EQ(data->country.size(), 2u);
    EXPECT_EQ(data->country[0]->sortOrder, 0);
    EXPECT_EQ(data->country[1]->sortOrder, 0);
}

TEST(MasterDataReading, FlagsAreTheExactTextYButStatesOnlyNeedTheKey) {
    QVCJSON entries = {{{"activeFlag", "Y"}},
                       {{"activeFlag", " Y"}},
                       {{"activeFlag", "Yes"}},
                       {{"activeFlag", nullptr}},
                       QVCJSON::object()};
    auto data =
        QVCMasterData::initWithResponse({{"occupationTypes", entries}, {"country", entries}, {"states", entries}});
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(data->occupationTypes[i]->activeFlag, i == 0) << i;
        EXPECT_EQ(data->country[i]->activeFlag, i == 0) << i;
        EXPECT_EQ(data->states[i]->activeFlag, i != 4) << i;
    }
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
        {"/ageRangeTypes", QVCJSON::object(), "ageRangeTypes is an object, not an array"},
        {"/merchantTypes", nullptr, "merchantTypes is null, not an array"},
        {"/maritalStatusTypes/0", 7,
         "cannot read key \"activeFlag\" of maritalStatusTypes[0]: it is a number, not an object"},
        {"/maritalStatusTypes/1/activeFlag", true, "maritalStatusTypes[1].activeFlag is a boolean, not a string"},
        {"/incomeRangeTypes/1/incomeRangeTypeCode", nullptr,
         "incomeRangeTypes[1].incomeRangeTypeCode is null and has no integer value"},
        {"/educationTypes/0/sortOrder", {1}, "educationTypes[0].sortOrder is an array and has no integer value"},
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
    QVCJSON document = with("occupationTypes", "x");
    document["consumerGroupTypes"] = {7};
    EXPECT_EQ(messageOf([&] { QVCMasterData::initWithResponse(document); }),
              "cannot read key \"activeFlag\" of consumerGroupTypes[0]: it is a number, not an object");
}

}  // namespace
