// XML text into a tree of builders.
#include "genicam/GenICamParser.h"
#include "genicam/GenICamTreeBuilder.h"
#include "genicam/xml_outline.h"
#include "support/generated_description.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <thread>

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

struct Row {
    const char* name;
    std::string text;
    std::string tree;
    std::string output = "";
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class Parsing : public testing::TestWithParam<Row> {};

TEST_P(Parsing, GivesTheTree) {
    testing::internal::CaptureStdout();
    const auto tree = parse(GetParam().text);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam().output);
    EXPECT_EQ(describe(tree.get()), GetParam().tree);
}

const Row rows[] = {
    {"Empty", "", "null"},
    {"Blanks", " \r\n\t", "null"},
    {"RootOnly", "<RegisterDescription/>", "2"},
    {"ByteOrderMark", "\xEF\xBB\xBF<RegisterDescription/>", "2"},
    {"Declaration",
     "<?xml version='1.0'?><?x <a> ?><!DOCTYPE a [<!ELEMENT a (b)>]><!-- <b> --><RegisterDescription/>", "2"},
    {"OtherRoot", "<Integer Name='A'/>", "null"},
    {"GroupAsRoot", "<Group><RegisterDescription/></Group>", "null"},
    {"SecondRootIsIgnored", "<RegisterDescription/><Integer/>", "2"},
    {"TextAsRoot", "hello", "null", parseError},
    {"Unclosed", "<RegisterDescription><Integer Name='A'/>", "null", parseError},
    {"GarbageBehindTheRoot", inRoot("<Node Name='A'/>") + "garbage", "2 (Node 6 @A)", parseError},
    {"EveryKind",
     inRoot(
         "<Node/><Category/><Integer/><IntReg/><MaskedIntReg/><Boolean/><Command/><Enumeration/><EnumEntry/>"
         "<Float/><FloatReg/><StringReg/><Register/><Converter/><IntConverter/><SwissKnife/><IntSwissKnife/"
         "><Port/>"
         "<StructReg/><pIndex/><StructEntry/><pVariable/>"),
     "2 (Boolean 3) (Category 4) (Command 5) (Converter 8) (EnumEntry 9) (Enumeration 10) (Float 12) "
     "(FloatReg 11) "
     "(IntConverter 13) (IntReg 15) (IntSwissKnife 21) (Integer 14) (MaskedIntReg 16) (Node 6) (Port 17) "
     "(Register 7) (StringReg 18) (StructEntry 1) (StructReg 19) (SwissKnife 20) (pIndex 1) (pVariable 1)"},
    {"CaseCounts", inRoot("<integer/><INTEGER/>"), "2 INTEGER=. integer=."},
    {"UnknownKindIsAnElement", inRoot("<Unknown Name='A'>x<Integer/>y</Unknown>"), "2 Unknown=xy."},
    {"GroupsVanish",
     inRoot("<Group Comment='c'><Node Name='B'/><Group><Node Name='A'/></Group></Group><Node Name='C'/>"),
     "2 (Node 6 @B) (Node 6 @A) (Node 6 @C)"},
    {"ExtensionsVanish", inRoot("<Extension><Node/><pFeature>A</pFeature></Extension><Extension/>"), "2"},
    {"ElementsAndVariables",
     inRoot("<SwissKnife Name='S'><pVariable Name='V'>Node1</pVariable><Formula>V &lt; 3 &#38;&amp; "
            "V&gt;&#x31;</Formula></SwissKnife>"),
     "2 (SwissKnife 20 @S Formula=V < 3 && V>1. (pVariable 1 @V 'Node1'))"},
    {"RepeatedElementsKeepTheirOrder",
     inRoot("<Category><pFeature>Z</pFeature><ToolTip>t</ToolTip><pFeature>A</pFeature><pFeature>M</pFeature>"
            "</Category>"),
     "2 (Category 4 ToolTip=t. pFeature=Z. pFeature=A. pFeature=M.)"},
    {"CommentSplitsAnElementsText",
     inRoot("<SwissKnife><Formula>A <!-- plus --> + B<![CDATA[ < C]]>\n</Formula></SwissKnife>"),
     "2 (SwissKnife 20 Formula=A  + B < C.)"},
    {"LastPieceIsTheContent",
     inRoot("<pVariable>Wid<!-- c -->th</pVariable><pIndex>A<pValue>B</pValue></pIndex>"),
     "2 (pIndex 1 pValue=B. 'A') (pVariable 1 'th')"},
    {"BlanksStay", inRoot("<Integer><pValue>\n  A </pValue></Integer>"), "2 (Integer 14 pValue=\n  A .)"},
    {"LaterAttributeWins", inRoot("<Node Name='A' Name='B'/>"), "2 (Node 6 @B)"},
    {"ZeroByteFromAnEntity", inRoot("<ToolTip>a&#0;b</ToolTip>"), std::string("2 ToolTip=a\0b.", 14)},
    {"UnknownEntityStays", inRoot("<ToolTip>&nbsp; &</ToolTip>"), "2 ToolTip=&nbsp; &."},
    {"EntityBeyondUnicode", inRoot("<ToolTip>&#x110000;</ToolTip>"), "null", parseError},
    {"UnquotedAttribute", inRoot("<Node Name=A/>"), "null", parseError},
};

INSTANTIATE_TEST_SUITE_P(Texts, Parsing, testing::ValuesIn(rows), [](const auto& row) {
    return std::string(row.param.name);
});

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

// The scan must find the depth that the XML parser would reach, whatever looks like markup and is none.
TEST(Nesting, IsMeasuredAsTheParserWould) {
    struct NestingRow {
        const char* name;
        std::string text;
        std::size_t depth;
    };
    const NestingRow nestings[] = {
        {"nothing", "", 0},
        {"elements", "<a><b><c/></b></a>", 2},
        {"siblings", "<a><b></b><b></b></a>", 2},
        {"closed by other names", "<a><b></x></y><a>", 2},
        {"comment", "<a><!-- <b><b><b> --></a>", 1},
        {"no comment", "<a><!- <b><c><d>", 3},
        {"CDATA", "<a><![CDATA[<b><b>]]></a>", 1},
        {"processing instruction", "<a><?x <b><b> ?></a>", 1},
        {"question mark and bracket", "<a><?><b><c>?></a>", 1},
        {"document type", "<!DOCTYPE a [<b>[<c>]<d>] ><a>", 1},
        {"document type without a blank", "<!DOCTYPE[><a><b>", 2},
        {"declaration of another kind", "<a><!x <b><c>", 2},
        {"bracket in quotes", "<a x='<b><c>' y=\"'<d>\"><e/></a>", 1},
        {"quote in a name", "<a\"><b><c>", 3},
        {"quote in a closing name", "<a></a\"><b></a>", 1},
        {"quote in text", "<a>\"<b>'<c>", 3},
        {"error ends it", "<a><b x=1><c><d>", 1},
        {"text in front ends it", "x<a><b>", 0},
        {"empty name ends it", "<a><><c><d>", 1},
    };
    for (const NestingRow& row : nestings) {
        EXPECT_TRUE(genicam::outlineXml(row.text.c_str(), row.depth).isShallow) << row.name;
        if (row.depth > 0) {
            EXPECT_FALSE(genicam::outlineXml(row.text.c_str(), row.depth - 1).isShallow) << row.name;
        }
    }
}

TEST(Nesting, BeyondTheLimitIsAParseError) {
    const int limit = static_cast<int>(genicam::maxXmlNesting);
    EXPECT_NE(parse(inRoot(repeated("<Group>", limit - 1) + repeated("</Group>", limit - 1))), nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(parse(inRoot(repeated("<Group>", limit) + repeated("</Group>", limit))), nullptr);
    EXPECT_EQ(parse(repeated("<RegisterDescription>", 1'000'000)), nullptr);
    EXPECT_EQ(parse("<RegisterDescription" + repeated("\"><a", 1'000'000)), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), parseError + parseError + parseError);
}

// Plain texts are parsed piece by piece; a second root makes a text one that is parsed as a whole.
TEST(Parsing, GivesTheSameTreeInPiecesAndAsAWhole) {
    std::string plain = generated::description(30);
    plain.insert(
        plain.rfind("</RegisterDescription>"),
        "<Group><Group/><!-- <a> --><Group a='>'><Node Name='X'/></Group>"
        "<Extension><Node/></Extension></Group><?p?>\n<Node Name='Y'/><ToolTip>t</ToolTip>");
    EXPECT_TRUE(genicam::outlineXml(plain.c_str()).isPlain);
    EXPECT_FALSE(genicam::outlineXml((plain + "<x/>").c_str()).isPlain);
    EXPECT_EQ(describe(parse(plain).get()), describe(parse(plain + "<x/>").get()));
    for (const Row& row : rows) {
        const bool isPlain = genicam::outlineXml(row.text.c_str()).isPlain;
        EXPECT_EQ(describe(parse(row.text + (isPlain ? "<x/>" : "")).get()), row.tree) << row.name;
    }
}

TEST(Parsing, SeesWhatIsNotPlain) {
    for (const char* const text :
         {"", "<a>", "<a></a>x", "<a/><b/>", "<a>text</a>", "<a><![CDATA[text]]></a>", "<![CDATA[text]]><a/>",
          "<a><Group>text</Group></a>", "<a><b></a>", "<a/><!--", "<a/><", "<!-- only -->"}) {
        EXPECT_FALSE(genicam::outlineXml(text).isPlain) << text;
    }
    for (const char* const text :
         {"<a/>", " <a>\n</a> ", "<?x?><!-- --><a b='c'><d>text</d><Group/></a><!x>"}) {
        EXPECT_TRUE(genicam::outlineXml(text).isPlain) << text;
    }
}

TEST(Parsing, BearsEveryTruncation) {
    const std::string text =
        "\xEF\xBB\xBF<?xml version=\"1.0\"?><!DOCTYPE a [<!b>]>\n<RegisterDescription ModelName='&lt;M&#62;'>"
        "<!-- c --><?pi x?><SwissKnife Name=\"S\"><pVariable Name='V'>A<![CDATA[B]]></pVariable>"
        "<Formula>V&amp;&#x31;</Formula></SwissKnife></RegisterDescription>";
    testing::internal::CaptureStdout();
    for (std::size_t length = 0; length < text.size(); ++length) {
        // An exact buffer, so that a sanitizer sees any step beyond it.
        const auto cut = std::make_unique<char[]>(length + 1);
        text.copy(cut.get(), length);
        EXPECT_EQ(GenICamParser().parseMemory(cut.get()), nullptr) << "cut at " << length;
    }
    testing::internal::GetCapturedStdout();
    EXPECT_NE(parse(text), nullptr);
}

TEST(Parsing, IsLinearInHostileRepetition) {
    constexpr int count = 200'000;
    EXPECT_EQ(
        parse(inRoot("<pVariable>" + repeated("a<!---->", count) + "</pVariable>"))
            ->getAllObjectsByName("pVariable")[0]
            .builder->getContent(),
        "a");
    EXPECT_EQ(
        parse(inRoot("<ToolTip>" + repeated("a<!---->", count) + "</ToolTip>"))
            ->getFirstElement("ToolTip", "")
            .size(),
        count);
    std::string attributes;
    std::string elements;
    for (int i = count; i > 0; --i) {
        attributes += " a" + std::to_string(i) + "=''";
        elements += "<e" + std::to_string(i) + "/>";
    }
    const auto tree = parse(inRoot("<Node" + attributes + ">" + elements + "</Node>"));
    GenICamTreeBuilder& node = *tree->getAllObjects()[0].builder;
    EXPECT_NE(node.findElement("e77"), nullptr);
    EXPECT_EQ(node.findAttribute("a77", "none"), "");
    EXPECT_EQ(
        parse(inRoot(repeated("<Node/>", count)))->getAllObjects().size(), static_cast<std::size_t>(count));
}

TEST(Parsing, ReadsFiles) {
    std::ofstream("camera.xml") << inRoot("<Node Name='A'/>");
    const auto parser = tavo::Singleton<GenICamParser>::getInstance();
    EXPECT_EQ(describe(parser->parseFile("camera.xml").get()), "2 (Node 6 @A)");
    EXPECT_EQ(parser->parseFile("missing.xml"), nullptr);
    EXPECT_EQ(parser->parseFile("."), nullptr);
}

TEST(Singleton, IsOneForAllThreads) {
    struct Counted {
        Counted() { ++*count(); }
        static std::atomic<int>* count() {
            static std::atomic<int> made = 0;
            return &made;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { EXPECT_NE(tavo::Singleton<Counted>::getInstance(), nullptr); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(*Counted::count(), 1);
}

} // namespace
