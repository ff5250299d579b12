#include <limits>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCNumber.h"
#include "TestSupport.h"

namespace {

TEST(ObjectText, FormatsValuesInMemoryAndInAnAnswerAlike) {
    const std::vector<std::pair<QVCJSON, std::string>> cases = {{"abc", "abc"}, {404, "404"},       {-7, "-7"},
                                                                {12.5, "12.5"}, {3.0, "3"},         {0.1, "0.1"},
                                                                {true, "1"},    {nullptr, "(null)"}};
    QVCJSON values = QVCJSON::array({1e21, 18446744073709551615ULL, QVCJSON{{"b", 1}, {"a", 2}}});
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(QVCFormat::object(value), text) << value.dump();
        values.push_back(value);
    }
    EXPECT_EQ(QVCFormat::object(static_cast<const QVCJSON*>(nullptr)), "(null)");
    const auto document = QVCAnswerDocument::fromJSON(values).document;
    std::size_t index = 0;
    for (QVCAnswerValue value : simdjson::dom::array(document->root())) {
        EXPECT_EQ(QVCFormat::object(value), QVCFormat::object(values[index])) << values[index].dump();
        ++index;
    }
    // Decimal text while the exponent is below 17, exponent form beyond and for tiny values.
    const std::vector<std::pair<double, std::string>> numbers = {
        {20.0, "20"}, {1e16, "10000000000000000"}, {1e17, "1e+17"}, {0.0001, "0.0001"}, {1e-5, "1e-05"}};
    for (const auto& [value, text] : numbers) {
        EXPECT_EQ(QVCFormat::number(value), text);
    }
}

TEST(IntegerValue, ReadsLeadingDigitsOfText) {
    const std::vector<std::pair<std::optional<std::string>, std::int64_t>> cases = {
        {"007", 7}, {"  -12abc", -12}, {"+5", 5}, {"42abc", 42}, {"abc", 0}, {"", 0}, {"- 3", 0}, {std::nullopt, 0}};
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(QVCNumber::integerValue(text), value) << text.value_or("(absent)");
    }
    EXPECT_EQ(QVCNumber::integerValue("99999999999999999999"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(QVCNumber::integerValue("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

TEST(IntegerValue, ReadsAnswerNumbersAndTextsButNotNullOrContainers) {
    const auto document = QVCAnswerDocument::fromJSON(QVCJSON{{"float", -12.9},
                                                              {"text", "8x"},
                                                              {"null", nullptr},
                                                              {"list", {1}},
                                                              {"huge", 18446744073709551615ULL},
                                                              {"wide", 4294967297LL},
                                                              {"longText", "99999999999"}})
                              .document;
    auto value = [&](const char* key) { return *QVCAnswerDocument::find(document->root(), key); };
    EXPECT_EQ(QVCNumber::integerValue(value("float")), -12);
    EXPECT_EQ(QVCNumber::integerValue(value("text")), 8);
    EXPECT_EQ(QVCNumber::integerValue(value("huge")), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(QVCNumber::integerValue(value("null")), std::nullopt);
    EXPECT_EQ(QVCNumber::integerValue(value("list")), std::nullopt);
    // The 32-bit reading clamps a text and keeps a number's low 32 bits.
    EXPECT_EQ(QVCNumber::intValue(value("longText")), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(QVCNumber::intValue(value("wide")), 1);
}

TEST(DoubleValue, ReadsTheLeadingDecimalNumber) {
    const std::vector<std::pair<std::optional<std::string>, double>> cases = {
        {"12.50", 12.5}, {"  -3.5kg", -3.5}, {".5", 0.5},     {"1e3", 1000.0},     {"50.000000", 50.0},
        {"abc", 0.0},    {"inf", 0.0},       {"(null)", 0.0}, {std::nullopt, 0.0}, {"1e-400", 0.0}};
    for (const auto& [text, value] : cases) {
        EXPECT_DOUBLE_EQ(QVCNumber::doubleValue(text), value) << text.value_or("(absent)");
    }
}

}  // namespace
