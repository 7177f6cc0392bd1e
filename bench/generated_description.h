// Descriptions of any size in the proportions of real ones, for measuring: each feature takes about 1 KB of
// XML and lies over a 4-byte big-endian register of its own on the port "Device".
#pragma once

#include <array>
#include <string>

namespace generated {

// Where the registers start: register i is at kFirstAddress + 4 * i. All zero is a valid content.
inline constexpr unsigned kFirstAddress = 0x10000;

enum class FeatureKind { Integer, Float, Enumeration, Boolean, Command };
inline constexpr int kFeatureKinds = 5;

inline FeatureKind kindOf(int feature) {
    return static_cast<FeatureKind>(feature % kFeatureKinds);
}

inline std::string featureName(int feature) {
    constexpr std::array<const char*, kFeatureKinds> names = {
        "IntegerFeature", "FloatFeature", "EnumerationFeature", "BooleanFeature", "CommandFeature"};
    return names[static_cast<std::size_t>(kindOf(feature))] + std::to_string(feature);
}

inline std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">\n";
}

// The register of a feature; the names of everything that belongs to a feature end with its number.
inline std::string featureRegister(int feature) {
    const std::string number = std::to_string(feature);
    return "<IntReg Name=\"Register" + number + "\" Namespace=\"Custom\">\n" + //
           element("Visibility", "Invisible") +
           element("Address", std::to_string(kFirstAddress + 4U * static_cast<unsigned>(feature))) +
           element("Length", "4") + element("AccessMode", "RW") + element("pPort", "Device") +
           element("Cachable", feature % 4 == 3 ? "WriteAround" : "WriteThrough") +
           element("Sign", "Unsigned") + element("Endianess", "BigEndian") + "</IntReg>\n";
}

// Limits from a formula; every fourth feature is a selector of the next one.
inline std::string integerFeature(int feature, const std::string& common) {
    const std::string number = std::to_string(feature);
    return "<Integer Name=\"" + featureName(feature) + "\" Namespace=\"Custom\">\n" + common +
           element("pValue", "Register" + number) + element("Min", "0") + element("pMax", "Limit" + number) +
           element("Inc", "1") + element("Representation", "Linear") +
           (feature % 4 == 0 ? element("pSelected", featureName(feature + 1)) : "") + "</Integer>\n" +
           "<IntSwissKnife Name=\"Limit" + number + "\">\n<pVariable Name=\"VALUE\">Register" + number +
           "</pVariable>\n" +
           element("Formula", "(VALUE &gt; 0x7FFFFFFF) ? 0xFFFFFFFF : ((VALUE &amp; 0xFF) + 0x7FFFFFFF)") +
           "</IntSwissKnife>\n";
}

inline std::string floatFeature(int feature, const std::string& common) {
    const std::string number = std::to_string(feature);
    return "<Float Name=\"" + featureName(feature) + "\" Namespace=\"Custom\">\n" + common +
           element("pValue", "Converter" + number) + element("Min", "0") + element("Max", "1e9") +
           element("Unit", "us") + "</Float>\n" + "<Converter Name=\"Converter" + number +
           "\">\n<pVariable Name=\"FACTOR\">Factor</pVariable>\n" +
           element("FormulaTo", "FROM * 1000 / FACTOR") + element("FormulaFrom", "TO * FACTOR / 1000") +
           element("pValue", "Register" + number) + element("Slope", "Increasing") + "</Converter>\n";
}

inline std::string enumerationFeature(int feature, const std::string& common) {
    std::string entries;
    constexpr std::array<const char*, 4> symbols = {"Off", "Once", "Continuous", "External"};
    for (std::size_t value = 0; value < symbols.size(); ++value) {
        entries += std::string("<EnumEntry Name=\"") + symbols[value] + "\">\n" +
                   element("Value", std::to_string(value)) + "</EnumEntry>\n";
    }
    return "<Enumeration Name=\"" + featureName(feature) + "\" Namespace=\"Custom\">\n" + common + entries +
           element("pValue", "Register" + std::to_string(feature)) + "</Enumeration>\n";
}

// Available unless a formula over its own register says otherwise.
inline std::string booleanFeature(int feature, const std::string& common) {
    const std::string number = std::to_string(feature);
    return "<Boolean Name=\"" + featureName(feature) + "\" Namespace=\"Custom\">\n" + common +
           element("pIsAvailable", "Condition" + number) + element("pValue", "Register" + number) +
           element("OnValue", "1") + element("OffValue", "0") + "</Boolean>\n" +
           "<IntSwissKnife Name=\"Condition" + number + "\">\n<pVariable Name=\"R\">Register" + number +
           "</pVariable>\n" + element("Formula", "(R &lt;&gt; 0xDEAD) &amp;&amp; (R &lt; 0x80000000)") +
           "</IntSwissKnife>\n";
}

inline std::string commandFeature(int feature, const std::string& common) {
    return "<Command Name=\"" + featureName(feature) + "\" Namespace=\"Custom\">\n" + common +
           element("pValue", "Register" + std::to_string(feature)) + element("CommandValue", "1") +
           element("PollingTime", "100") + "</Command>\n";
}

inline std::string feature(int feature) {
    const std::string common =
        element("ToolTip", "Generated feature number " + std::to_string(feature) + ".") +
        element(
            "Description",
            "A feature that stands for one of a real camera, with a text of the length that makers "
            "usually spend on the purpose, the limits and the side effects of such a feature.") +
        element("DisplayName", "Generated " + featureName(feature)) +
        element("Visibility", feature % 3 == 0 ? "Beginner" : "Expert") +
        (feature % 7 == 0 ? element("pIsLocked", "TLParamsLocked") : "");
    using Make = std::string (*)(int, const std::string&);
    constexpr std::array<Make, kFeatureKinds> kMakers = {
        integerFeature, floatFeature, enumerationFeature, booleanFeature, commandFeature};
    return featureRegister(feature) + kMakers[static_cast<std::size_t>(kindOf(feature))](feature, common);
}

inline std::string description(int features) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<RegisterDescription ModelName=\"Generated\" "
        "VendorName=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\">\n"
        "<Port Name=\"Device\"/>\n<Integer Name=\"TLParamsLocked\"><Value>0</Value></Integer>\n"
        "<Integer Name=\"Factor\"><Value>250</Value></Integer>\n";
    std::string category = "<Category Name=\"Root\">\n";
    for (int i = 0; i < features; ++i) {
        text += feature(i);
        category += element("pFeature", featureName(i));
    }
    return text + category + "</Category>\n</RegisterDescription>\n";
}

} // namespace generated
