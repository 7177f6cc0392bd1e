// The builders' lists and the parsers of their texts.
#include "genicam/GenICamTreeBuilder.h"

#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <map>
#include <random>

using tavo::GenICamTreeBuilder;
using tavo::GenICamTypes;
using testing::ElementsAre;

namespace {

constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
constexpr double largest = std::numeric_limits<double>::max();

constexpr std::int64_t noNumber = 77;

TEST(ParseNumber, ReadsAsAStreamWithoutAFixedBase) {
    const std::pair<std::int64_t, std::vector<std::string_view>> rows[] = {
        {noNumber, {"", " ", "abc", "-", "- 5", "--5", "0x", "0xg"}},
        {0, {"0", "08"}},
        {42, {"42", "+42", "  42", "\n\t42 \n", "42abc", "42 7", "42.9"}},
        {-5, {"-5", "-0x5", "-05"}},
        {31, {"0x1f", "0X1F", "0x1fzz"}},
        {15, {"017", "00000000000000000000000000000000017"}},
        {8, {"010"}},
        {-1, {"0xFFFFFFFFFFFFFFFF"}},
        {highest, {"9223372036854775807", "9223372036854775808", "99999999999999999999999"}},
        {highest, {"0x7FFFFFFFFFFFFFFF", "0x10000000000000000", "01777777777777777777777"}},
        {lowest,
         {"-9223372036854775808", "-9223372036854775809", "0x8000000000000000", "-0x10000000000000000"}}};
    for (const auto& [value, texts] : rows) {
        for (const std::string_view text : texts) {
            EXPECT_EQ(GenICamTreeBuilder::parseNumber(text, noNumber), value) << "'" << text << "'";
        }
    }
}

TEST(ParseFloat, ReadsOneDecimalNumber) {
    const std::pair<double, std::vector<std::string_view>> rows[] = {
        {noNumber, {"", "abc", ".", "-", "inf", "nan", "12e"}},
        {0, {"0x1F", "1e-999"}},
        {0.5, {".5", "+.5", "0.5.5"}},
        {-1.25, {"-1.25", " \n-1.25x"}},
        {1, {"1", "1.", "1,5"}},
        {1000, {"1e3", "1E+3"}},
        {largest, {"1e999"}},
        {-largest, {"-1e999"}},
        {2.2250738585072014e-308, {"2.2250738585072014e-308"}}};
    for (const auto& [value, texts] : rows) {
        for (const std::string_view text : texts) {
            EXPECT_EQ(GenICamTreeBuilder::parseFloat(text, noNumber), value) << "'" << text << "'";
        }
    }
}

TEST(ParseKeyword, IsExact) {
    struct Row {
        const char* parser;
        std::function<int(std::string_view)> parse;
        std::vector<std::string_view> keywords; // for 1, 2, 3...
    };
    using B = GenICamTreeBuilder;
    const auto number = [](auto parser) { return [parser](std::string_view t) { return int(parser(t)); }; };
    const Row rows[] = {
        {"YesNo", number(B::parseYesNo), {"Yes", "No"}},
        {"Sign", number(B::parseSign), {"Signed", "Unsigned"}},
        {"Endianess", number(B::parseEndianess), {"LittleEndian", "BigEndian"}},
        {"CacheMode", number(B::parseCacheMode), {"WriteThrough", "WriteAround", "NoCache"}},
        {"AccessMode", number(B::parseAccessMode), {"RO", "WO", "RW"}},
        {"Visibility", number(B::parseVisibility), {"Beginner", "Expert", "Guru", "Invisible"}},
        {"Representation",
         number(B::parseRepresentation),
         {"Linear", "Logarithmic", "Boolean", "PureNumber", "HexNumber"}},
        {"Slope", number(B::parseSlope), {"Increasing", "Decreasing", "Varying", "Automatic"}}};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.keywords.size(); ++i) {
            const std::string keyword(row.keywords[i]);
            EXPECT_EQ(row.parse(keyword), static_cast<int>(i) + 1) << row.parser << ' ' << keyword;
            for (const std::string& wrong :
                 {keyword + " ", " " + keyword, keyword.substr(1), "\n" + keyword}) {
                EXPECT_EQ(row.parse(wrong), 0) << row.parser << " '" << wrong << "'";
            }
        }
        EXPECT_EQ(row.parse(""), 0) << row.parser;
    }
    EXPECT_EQ(B::parseCacheMode("No"), GenICamTypes::GenICamCacheModeType::NoCache);
    EXPECT_TRUE(B::parseBoolean("", true));
    EXPECT_TRUE(B::parseBoolean("true", false));
    for (const char* text : {"TRUE", "True", "1", " true", "false"}) {
        EXPECT_FALSE(B::parseBoolean(text, true)) << text;
    }
}

std::vector<std::string> texts(std::span<GenICamTreeBuilder::Element> elements) {
    std::vector<std::string> result;
    for (const auto& element : elements) {
        result.emplace_back(element.text);
    }
    return result;
}

TEST(TreeBuilder, KeepsWhatItIsAskedFor) {
    GenICamTreeBuilder builder(GenICamTypes::Integer);
    EXPECT_EQ(builder.getNode(), nullptr);
    EXPECT_EQ(builder.findAttribute("Name", "none"), "none");
    EXPECT_EQ(builder.getAttribute("Name", ""), "");
    EXPECT_EQ(builder.findAttribute("Name", "none"), "");
    builder.setAttribute("Name", "A");
    EXPECT_EQ(builder.setAttribute("Name", "B"), "B");
    EXPECT_EQ(builder.getAttribute("Name", ""), "B");

    EXPECT_EQ(builder.getFirstElement("Min", "5"), "5");
    builder.addElement("Min", "6");
    EXPECT_EQ(builder.getFirstElement("Min", "7"), "5");
    EXPECT_THAT(texts(builder.getAllElementsByName("Min")), ElementsAre("5", "6"));
    EXPECT_TRUE(builder.getAllElementsByName("Max").empty());
    EXPECT_EQ(builder.findElement("Max"), nullptr);

    builder.setType(GenICamTypes::MaskedIntReg);
    EXPECT_EQ(builder.getNodeType(), GenICamTypes::MaskedIntReg);
}

// Views outlive what they were copied from and other builders of the tree, and long texts are not mixed up.
TEST(TreeBuilder, OwnsItsTexts) {
    auto root = std::make_unique<GenICamTreeBuilder>(GenICamTypes::RegisterDescription);
    std::vector<std::pair<std::string, std::string_view>> stored;
    for (std::size_t i = 0; i < 3000; ++i) {
        std::string text = std::to_string(i % 700) + std::string(i % 50, 'x');
        if (i % 100 == 0) {
            text += std::string(30'000 * (i % 3), 'y');
        }
        stored.emplace_back(text, root->addElement("Long", text).text);
    }
    auto relative = std::make_unique<GenICamTreeBuilder>(GenICamTypes::Node, *root);
    relative->setContent("content");
    root.reset();
    for (const auto& [text, view] : stored) {
        ASSERT_EQ(text, view);
    }
    EXPECT_EQ(relative->getContent(), "content");
}

TEST(TreeBuilder, OrdersByNameAndThenByInsertion) {
    std::mt19937 random(7);
    for (const std::size_t count : {3u, 20u, 500u}) {
        GenICamTreeBuilder builder(GenICamTypes::Category);
        std::multimap<std::string, std::string> model;
        for (std::size_t i = 0; i < count; ++i) {
            const std::string name(1, static_cast<char>("aZpQ_b"[random() % 6]));
            auto child = std::make_unique<GenICamTreeBuilder>(GenICamTypes::Node, builder);
            child->setContent(std::to_string(i));
            model.emplace(name, std::to_string(i));
            builder.addObject(name, std::move(child));
            if (i % 7 == 0) { // a look in between makes the order early
                EXPECT_EQ(builder.getAllObjectsByName("Z").size(), model.count("Z"));
            }
        }
        auto expected = model.begin();
        for (const auto& object : builder.getAllObjects()) {
            EXPECT_EQ(object.name, expected->first);
            EXPECT_EQ(object.builder->getContent(), expected->second);
            ++expected;
        }
    }
}

} // namespace
