// The builders' lists and the parsers of their texts.
#include "genicam/GenICamTreeBuilder.h"

#include <gmock/gmock.h>

#include <limits>
#include <random>

using tavo::GenICamTreeBuilder;
using tavo::GenICamTypes;
using testing::ElementsAre;

namespace {

constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
constexpr double largest = std::numeric_limits<double>::max();

TEST(ParseNumber, ReadsAsAStreamWithoutAFixedBase) {
    struct Row {
        std::string_view text;
        std::int64_t value;
    };
    const Row rows[] = {
        {"", 77},
        {"0", 0},
        {"12", 12},
        {"-5", -5},
        {"+5", 5},
        {"0x1f", 31},
        {"0X1F", 31},
        {"-0x10", -16},
        {"017", 15},
        {"010", 8},
        {"08", 0},
        {"  42", 42},
        {"\n\t42 \n", 42},
        {"42abc", 42},
        {"4 2", 4},
        {"1.9", 1},
        {"0x1fzz", 31},
        {"abc", 77},
        {"-", 77},
        {"- 5", 77},
        {"--5", 77},
        {" ", 77},
        {"0x", 77},
        {"0xg", 77},
        {"9223372036854775807", highest},
        {"9223372036854775808", highest},
        {"99999999999999999999999", highest},
        {"-9223372036854775808", lowest},
        {"-9223372036854775809", lowest},
        {"0x7FFFFFFFFFFFFFFF", highest},
        {"0x8000000000000000", lowest},
        {"0xFFFFFFFFFFFFFFFF", -1},
        {"0x10000000000000000", highest},
        {"-0x10000000000000000", lowest},
        {"01777777777777777777777", highest},
        {"00000000000000000000000000000000017", 15},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(GenICamTreeBuilder::parseNumber(row.text, 77), row.value) << "'" << row.text << "'";
    }
}

TEST(ParseFloat, ReadsOneDecimalNumber) {
    struct Row {
        std::string_view text;
        double value;
    };
    const Row rows[] = {
        {"", 7.5},
        {"1", 1},
        {"-1.25", -1.25},
        {"+.5", 0.5},
        {"2.", 2},
        {"1e3", 1000},
        {" \n3.5x", 3.5},
        {"1,5", 1},
        {"0x1F", 0},
        {"abc", 7.5},
        {".", 7.5},
        {"inf", 7.5},
        {"nan", 7.5},
        {"-", 7.5},
        {"1e999", largest},
        {"-1e999", -largest},
        {"1e-999", 0},
        {"12e", 7.5},
        {"2.2250738585072014e-308", 2.2250738585072014e-308},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(GenICamTreeBuilder::parseFloat(row.text, 7.5), row.value) << "'" << row.text << "'";
    }
}

TEST(ParseKeyword, IsExact) {
    struct Row {
        const char* parser;
        int (*parse)(std::string_view);
        std::vector<std::string_view> keywords; // for 1, 2, 3...
    };
    using B = GenICamTreeBuilder;
    const Row rows[] = {
        {"YesNo", [](std::string_view t) { return int(B::parseYesNo(t)); }, {"Yes", "No"}},
        {"Sign", [](std::string_view t) { return int(B::parseSign(t)); }, {"Signed", "Unsigned"}},
        {"Endianess",
         [](std::string_view t) { return int(B::parseEndianess(t)); },
         {"LittleEndian", "BigEndian"}},
        {"CacheMode",
         [](std::string_view t) { return int(B::parseCacheMode(t)); },
         {"WriteThrough", "WriteAround", "NoCache"}},
        {"AccessMode", [](std::string_view t) { return int(B::parseAccessMode(t)); }, {"RO", "WO", "RW"}},
        {"Visibility",
         [](std::string_view t) { return int(B::parseVisibility(t)); },
         {"Beginner", "Expert", "Guru", "Invisible"}},
        {"Representation",
         [](std::string_view t) { return int(B::parseRepresentation(t)); },
         {"Linear", "Logarithmic", "Boolean", "PureNumber", "HexNumber"}},
        {"Slope",
         [](std::string_view t) { return int(B::parseSlope(t)); },
         {"Increasing", "Decreasing", "Varying", "Automatic"}},
    };
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
