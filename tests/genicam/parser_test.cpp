// XML text into a tree of builders.
#include "genicam/description/GenICamParser.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/description/xml_outline.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <sstream>

using tavo::GenICamParser;
using tavo::GenICamTreeBuilder;
using tavo::GenICamTypes;

namespace {

std::unique_ptr<GenICamTreeBuilder> parse(std::string text) {
    return tavo::Singleton<GenICamParser>::getInstance()->parseMemory(text.data());
}

// A tree in one line: kind number, name, simple elements, content and children of each builder.
void describe(GenICamTreeBuilder& builder, std::ostream& out) {
    out << builder.getNodeType();
    if (const auto name = builder.findAttribute("Name"); !name.empty()) {
        out << " @" << name;
    }
    for (const auto& element : builder.getAllElements()) {
        out << ' ' << element.name << "=" << element.text << '.';
    }
    if (!builder.getContent().empty()) {
        out << " '" << builder.getContent() << "'";
    }
    for (auto& child : builder.getAllObjects()) {
        out << " (" << child.name << ' ';
        describe(*child.builder, out);
        out << ')';
    }
}

std::string describe(GenICamTreeBuilder* builder) {
    if (builder == nullptr) {
        return "null";
    }
    std::ostringstream out;
    describe(*builder, out);
    return out.str();
}

std::string inRoot(const std::string& inner) {
    return "<RegisterDescription>" + inner + "</RegisterDescription>";
}

const std::string parseError = "RapidXML: Parse error!\n";

TEST(Parsing, GivesTheTree) {
    const struct {
        const char* name;
        std::string text;
        std::string tree;
        std::string output = "";
    } rows[] = {
        {"Empty", "", "null"},
        {"Declaration",
         "<?xml version='1.0'?><?x <a> ?><!DOCTYPE a [<!ELEMENT a (b)>]><!-- <b> --><RegisterDescription/>",
         "2"},
        {"OtherRoot", "<Integer Name='A'/>", "null"},
        {"TextAsRoot", "hello", "null", parseError},
        {"Unclosed", "<RegisterDescription><Integer Name='A'/>", "null", parseError},
        {"EveryKind",
         inRoot("<Node/><Category/><Integer/><IntReg/><MaskedIntReg/><Boolean/><Command/><Enumeration/"
                "><EnumEntry/>"
                "<Float/><FloatReg/><StringReg/><Register/><Converter/><IntConverter/><SwissKnife/"
                "><IntSwissKnife/"
                "><Port/>"
                "<StructReg/><pIndex/><StructEntry/><pVariable/>"),
         "2 (Boolean 3) (Category 4) (Command 5) (Converter 8) (EnumEntry 9) (Enumeration 10) (Float 12) "
         "(FloatReg 11) "
         "(IntConverter 13) (IntReg 15) (IntSwissKnife 21) (Integer 14) (MaskedIntReg 16) (Node 6) (Port 17) "
         "(Register 7) (StringReg 18) (StructEntry 1) (StructReg 19) (SwissKnife 20) (pIndex 1) (pVariable "
         "1)"},
        {"UnknownKindIsAnElement", inRoot("<Unknown Name='A'>x<Integer/>y</Unknown>"), "2 Unknown=xy."},
        {"GroupsVanish",
         inRoot("<Group Comment='c'><Node Name='B'/><Group><Node Name='A'/></Group></Group><Node Name='C'/>"),
         "2 (Node 6 @B) (Node 6 @A) (Node 6 @C)"},
        {"ElementsAndVariables",
         inRoot("<SwissKnife Name='S'><pVariable Name='V'>Node1</pVariable><Formula>V &lt; 3 &#38;&amp; "
                "V&gt;&#x31;</Formula></SwissKnife>"),
         "2 (SwissKnife 20 @S Formula=V < 3 && V>1. (pVariable 1 @V 'Node1'))"},
        {"RepeatedElementsKeepTheirOrder",
         inRoot("<Category><pFeature>Z</pFeature><ToolTip>t</ToolTip><pFeature>A</pFeature><pFeature>M</"
                "pFeature>"
                "</Category>"),
         "2 (Category 4 ToolTip=t. pFeature=Z. pFeature=A. pFeature=M.)"},
        {"CommentSplitsAnElementsText",
         inRoot("<SwissKnife><Formula>A <!-- plus --> + B<![CDATA[ < C]]>\n</Formula></SwissKnife>"),
         "2 (SwissKnife 20 Formula=A  + B < C.)"},
        {"ZeroByteFromAnEntity", inRoot("<ToolTip>a&#0;b</ToolTip>"), std::string("2 ToolTip=a\0b.", 14)},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStdout();
        const auto tree = parse(row.text);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.output) << row.name;
        EXPECT_EQ(describe(tree.get()), row.tree) << row.name;
        // Plain texts are parsed piece by piece; a second root makes a text one that is parsed as a whole.
        if (genicam::outlineXml(row.text.c_str()).isPlain) {
            EXPECT_EQ(describe(parse(row.text + "<x/>").get()), row.tree) << row.name << " as a whole";
        }
    }
}

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

// The scan must find the depth that the XML parser would reach, whatever looks like markup and is none.
TEST(Nesting, IsMeasuredAsTheParserWould) {
    const struct {
        const char* name;
        std::string text;
        std::size_t depth;
    } rows[] = {
        {"nothing", "", 0},
        {"elements", "<a><b><c/></b></a>", 2},
        {"closed by other names", "<a><b></x></y><a>", 2},
        {"comment", "<a><!-- <b><b><b> --></a>", 1},
        {"CDATA", "<a><![CDATA[<b><b>]]></a>", 1},
        {"processing instruction", "<a><?x <b><b> ?></a>", 1},
        {"document type", "<!DOCTYPE a [<b>[<c>]<d>] ><a>", 1},
        {"bracket in quotes", "<a x='<b><c>' y=\"'<d>\"><e/></a>", 1},
        {"quote in text", "<a>\"<b>'<c>", 3},
        {"error ends it", "<a><b x=1><c><d>", 1},
        {"text in front ends it", "x<a><b>", 0},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(genicam::outlineXml(row.text.c_str(), row.depth).isShallow) << row.name;
        if (row.depth > 0) {
            EXPECT_FALSE(genicam::outlineXml(row.text.c_str(), row.depth - 1).isShallow) << row.name;
        }
    }
}

TEST(Nesting, BeyondTheLimitIsAParseError) {
    const int limit = static_cast<int>(genicam::kMaxXmlNesting);
    EXPECT_NE(parse(inRoot(repeated("<Group>", limit - 1) + repeated("</Group>", limit - 1))), nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(parse(inRoot(repeated("<Group>", limit) + repeated("</Group>", limit))), nullptr);
    EXPECT_EQ(parse(repeated("<RegisterDescription>", 1'000'000)), nullptr);
    EXPECT_EQ(parse("<RegisterDescription" + repeated("\"><a", 1'000'000)), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), parseError + parseError + parseError);
}

TEST(Parsing, IsLinearInHostileRepetition) {
    constexpr int kCount = 200'000;
    EXPECT_EQ(
        parse(inRoot("<pVariable>" + repeated("a<!---->", kCount) + "</pVariable>"))
            ->getAllObjectsByName("pVariable")[0]
            .builder->getContent(),
        "a");
    EXPECT_EQ(
        parse(inRoot("<ToolTip>" + repeated("a<!---->", kCount) + "</ToolTip>"))
            ->getFirstElement("ToolTip", "")
            .size(),
        kCount);
    std::string attributes;
    std::string elements;
    for (int i = kCount; i > 0; --i) {
        attributes += " a" + std::to_string(i) + "=''";
        elements += "<e" + std::to_string(i) + "/>";
    }
    const auto tree = parse(inRoot("<Node" + attributes + ">" + elements + "</Node>"));
    GenICamTreeBuilder& node = *tree->getAllObjects()[0].builder;
    EXPECT_NE(node.findElement("e77"), nullptr);
    EXPECT_EQ(node.findAttribute("a77", "none"), "");
    constexpr std::size_t kMost = genicam::kMaxBuilders;
    EXPECT_EQ(parse(inRoot(repeated("<Node/>", int{kMost})))->getAllObjects().size(), kMost);
}

// ---- The builders and the parsers of their texts ----

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
constexpr double kLargest = std::numeric_limits<double>::max();

constexpr std::int64_t kNoNumber = 77;

// Texts that the parser reads as one value.
template<class Value> using TextsOf = std::vector<std::pair<Value, std::vector<std::string_view>>>;

template<class Value>
void expectParsed(Value (*parser)(std::string_view, Value), const TextsOf<Value>& rows) {
    for (const auto& [value, texts] : rows) {
        for (const std::string_view text : texts) {
            EXPECT_EQ(parser(text, Value(kNoNumber)), value) << "'" << text << "'";
        }
    }
}

TEST(Texts, AreReadAsStreamsDo) {
    expectParsed<std::int64_t>(
        GenICamTreeBuilder::parseNumber,
        {{kNoNumber, {"", " ", "abc", "-", "- 5", "--5", "0x", "0xg"}},
         {0, {"0", "08"}},
         {42, {"42", "+42", "  42", "\n\t42 \n", "42abc", "42 7", "42.9"}},
         {-5, {"-5", "-0x5", "-05"}},
         {31, {"0x1f", "0X1F", "0x1fzz"}},
         {15, {"017", "00000000000000000000000000000000017"}},
         {8, {"010"}},
         {-1, {"0xFFFFFFFFFFFFFFFF"}},
         {kHighest, {"9223372036854775807", "9223372036854775808", "99999999999999999999999"}},
         {kHighest, {"0x7FFFFFFFFFFFFFFF", "0x10000000000000000", "01777777777777777777777"}},
         {kLowest,
          {"-9223372036854775808", "-9223372036854775809", "0x8000000000000000", "-0x10000000000000000"}}});
    expectParsed<double>(
        GenICamTreeBuilder::parseFloat, {{kNoNumber, {"", "abc", ".", "-", "inf", "nan", "12e"}},
                                         {0, {"0x1F", "1e-999"}},
                                         {0.5, {".5", "+.5", "0.5.5"}},
                                         {-1.25, {"-1.25", " \n-1.25x"}},
                                         {1, {"1", "1.", "1,5"}},
                                         {1000, {"1e3", "1E+3"}},
                                         {kLargest, {"1e999"}},
                                         {-kLargest, {"-1e999"}},
                                         {2.2250738585072014e-308, {"2.2250738585072014e-308"}}});
}

TEST(Texts, OfKeywordsAreExact) {
    using B = GenICamTreeBuilder;
    const auto number = [](auto parser) { return [parser](std::string_view t) { return int(parser(t)); }; };
    const std::pair<std::function<int(std::string_view)>, std::vector<std::string>> rows[] = {
        // for 1, 2, 3...
        {number(B::parseYesNo), {"Yes", "No"}},
        {number(B::parseSign), {"Signed", "Unsigned"}},
        {number(B::parseEndianess), {"LittleEndian", "BigEndian"}},
        {number(B::parseCacheMode), {"WriteThrough", "WriteAround", "NoCache"}},
        {number(B::parseAccessMode), {"RO", "WO", "RW"}},
        {number(B::parseVisibility), {"Beginner", "Expert", "Guru", "Invisible"}},
        {number(B::parseRepresentation), {"Linear", "Logarithmic", "Boolean", "PureNumber", "HexNumber"}},
        {number(B::parseSlope), {"Increasing", "Decreasing", "Varying", "Automatic"}},
    };
    for (const auto& [parse, keywords] : rows) {
        int expected = 0;
        EXPECT_EQ(parse(""), expected);
        for (const std::string& keyword : keywords) {
            EXPECT_EQ(parse(keyword), ++expected) << keyword;
            EXPECT_EQ(parse(keyword + " ") + parse(" " + keyword) + parse(keyword.substr(1)), 0) << keyword;
        }
    }
    EXPECT_EQ(B::parseCacheMode("No"), GenICamTypes::GenICamCacheModeType::NoCache);
    EXPECT_TRUE(B::parseBoolean("", true) && B::parseBoolean("true", false));
    EXPECT_FALSE(
        B::parseBoolean("True", true) || B::parseBoolean("1", true) || B::parseBoolean(" true", true));
}

// Texts of the adopted buffer stay where they are, all others are copied; long ones are not mixed up.
TEST(TreeBuilder, KeepsItsTexts) {
    GenICamTreeBuilder root(GenICamTypes::RegisterDescription);
    constexpr std::string_view kKept = "kept";
    auto buffer = std::make_unique<char[]>(kKept.size());
    const std::string_view inBuffer(buffer.get(), kKept.copy(buffer.get(), kKept.size()));
    root.adoptBuffer(std::move(buffer), kKept.size());
    std::vector<std::pair<std::string, std::string_view>> stored;
    for (std::size_t i = 0; i < 3000; ++i) {
        std::string text(i % 100 == 0 ? 30'000 * (i % 3) : i % 50, static_cast<char>('a' + i % 26));
        stored.emplace_back(text, root.addObject("Node", GenICamTypes::Node).addElement("Long", text).text);
    }
    for (const auto& [text, view] : stored) {
        ASSERT_EQ(text, view);
    }
    EXPECT_EQ(root.addElement("Name", inBuffer).text.data(), inBuffer.data());
}

} // namespace
