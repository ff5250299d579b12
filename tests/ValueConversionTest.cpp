#include <gtest/gtest.h>

#include <limits>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCNumber.h"
#include "TestSupport.h"

namespace {

TEST(ObjectText, FormatsTextsNumbersAndAbsence) {
    const std::vector<std::pair<QVCJSON, std::string>> cases = {{"abc", "abc"}, {404, "404"},       {-7, "-7"},
                                                                {12.5, "12.5"}, {3.0, "3"},         {0.1, "0.1"},
                                                                {true, "1"},    {nullptr, "(null)"}};
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(QVCFormat::object(value), text) << value.dump();
    }
    EXPECT_EQ(QVCFormat::object(static_cast<const QVCJSON*>(nullptr)), "(null)");
}

TEST(ObjectText, JoinsPathPartsAndWritesFixedDecimals) {
    std::optional<std::string> none;
    EXPECT_EQ(QVCFormat::format("a/", none, "/", QVCJSON(9), "?f=", std::int64_t{7}), "a/(null)/9?f=7");
    EXPECT_EQ(QVCFormat::decimal(-0.5), "-0.500000");
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

TEST(IntegerValue, ReadsJsonNumbersAndRefusesNull) {
    QVCJSON values = {{"int", 5}, {"float", -12.9}, {"text", "8x"}, {"null", nullptr}, {"list", {1}}};
    EXPECT_EQ(QVCNumber::integerValue(&values["int"], "int"), 5);
    EXPECT_EQ(QVCNumber::integerValue(&values["float"], "float"), -12);
    EXPECT_EQ(QVCNumber::integerValue(&values["text"], "text"), 8);
    EXPECT_EQ(QVCNumber::integerValue(nullptr, "missing"), 0);
    EXPECT_EQ(messageOf([&] { QVCNumber::integerValue(&values["null"], "states[1].sortOrder"); }),
              "states[1].sortOrder is null and has no integer value");
    EXPECT_THROW(QVCNumber::integerValue(&values["list"], "list"), QVCException);
}

TEST(IntegerValue, ThirtyTwoBitReadingClampsTextAndWrapsNumbers) {
    QVCJSON big = "99999999999";
    QVCJSON wide = std::int64_t{4294967297};
    EXPECT_EQ(QVCNumber::intValue(&big, "id"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(QVCNumber::intValue(&wide, "id"), 1);
}

TEST(DoubleValue, ReadsTheLeadingDecimalNumber) {
    const std::vector<std::pair<std::optional<std::string>, double>> cases = {
        {"12.50", 12.5}, {"  -3.5kg", -3.5}, {".5", 0.5},     {"1e3", 1000.0},     {"50.000000", 50.0},
        {"abc", 0.0},    {"inf", 0.0},       {"(null)", 0.0}, {std::nullopt, 0.0}, {"1e-400", 0.0}};
    for (const auto& [text, value] : cases) {
        EXPECT_DOUBLE_EQ(QVCNumber::doubleValue(text), value) << text.value_or("(absent)");
    }
    QVCJSON number = 3;
    EXPECT_DOUBLE_EQ(QVCNumber::doubleValue(&number, "price"), 3.0);
}

}  // namespace
