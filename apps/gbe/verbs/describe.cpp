// gbe describe: everything that a description says about a feature, and what of it holds now.
#include "gbe/Context.h"
#include "gbe/DescriptionGraph.h"
#include "gbe/Failure.h"
#include "gbe/Json.h"
#include "gbe/Table.h"
#include "gbe/Terminal.h"
#include "gbe/features.h"
#include "gbe/numbers.h"
#include "gbe/options.h"
#include "liomol/features.h"

#include <QtCore/QJsonArray>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace gbe {
namespace {

// What both outputs are made of: a row for people, and a value for programs, in one order.
struct Fact {
    const char* label; // of the row; empty: only for programs
    std::string text;
    const char* key;
    QJsonValue value;
};

QJsonValue json(const std::string& text) {
    return QString::fromStdString(text);
}

QJsonArray json(const std::vector<std::string>& texts) {
    QJsonArray array;
    for (const std::string& text : texts) {
        array.append(QString::fromStdString(text));
    }
    return array;
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : ", ") + text;
    }
    return all;
}

const char* accessName(int access) {
    static constexpr const char* kNames[] = {"none",           "read-only",     "write-only",
                                             "read and write", "not available", "not implemented"};
    return access >= 0 && access <= GBE_ACCESS_NOT_IMPLEMENTED ? kNames[access] : "unknown";
}

class Description {
public:
    Description(CameraHandle* camera, std::string name)
        : m_camera(camera), m_name(std::move(name)), m_kind(featureKind(camera, m_name)),
          m_categories(categoriesOf(camera)), m_graph(readDescription(camera), m_categories) {}

    void print();
    QJsonObject object();

private:
    void collect();
    void tell(const char* label, const std::string& text, const char* key, const QJsonValue& value);
    void tellText(const char* label, const char* key, int which);
    void tellWhat();
    void tellValue();
    void tellLimits();
    void tellAccess();
    void tellList(const char* label, const char* key, int list);
    void tellLinks(const char* label, const char* key, const std::vector<DescriptionGraph::Link>& links);
    void tellPlace();

    std::string valueNow(const std::string& name) const;
    // "TLParamsLocked = 0" for each feature that a reference of this element leads to, along the value.
    std::vector<std::string> deciders(const char* element) const;
    QJsonArray entries() const;

    CameraHandle* m_camera;
    const std::string m_name;
    const int m_kind;
    const std::vector<Category> m_categories;
    const DescriptionGraph m_graph;
    std::vector<Fact> m_facts;
};

void Description::tell(const char* label, const std::string& text, const char* key, const QJsonValue& value) {
    m_facts.push_back({label, text, key, value});
}

void Description::tellText(const char* label, const char* key, int which) {
    const char* text = "";
    if (Gbe_getFeatureText(m_camera, m_name.c_str(), which, &text) == GBE_SUCCESS && *text != '\0') {
        tell(label, text, key, QString::fromUtf8(text));
    }
}

std::string Description::valueNow(const std::string& name) const {
    try {
        return readText(m_camera, name);
    } catch (const Failure& failure) {
        return "(" + failure.reason() + ")";
    }
}

void Description::tellWhat() {
    const std::string element = m_graph.element(m_name);
    tell(
        "Kind", kindName(m_kind) + (element.empty() ? "" : " (" + element + ")"), "kind",
        json(kindName(m_kind)));
    tell("", "", "element", json(element));
    for (const Category& category : m_categories) {
        if (std::find(category.features.begin(), category.features.end(), m_name) !=
            category.features.end()) {
            tell("Category", category.name, "category", json(category.name));
        }
    }
    tellText("Shown as", "displayName", GBE_TEXT_DISPLAY_NAME);
    tellText("Tip", "toolTip", GBE_TEXT_TOOL_TIP);
    tellText("Description", "description", GBE_TEXT_DESCRIPTION);
    tellText("Namespace", "namespace", GBE_TEXT_NAMESPACE);
}

void Description::tellValue() {
    if (m_kind == GBE_KIND_COMMAND || m_kind == GBE_KIND_CATEGORY) {
        return;
    }
    try {
        const std::string text = readText(m_camera, m_name);
        const char* unit = "";
        Gbe_getFeatureText(m_camera, m_name.c_str(), GBE_TEXT_UNIT, &unit);
        const std::string shown = shortened(text);
        tell("Value", *unit != '\0' ? shown + " " + unit : shown, "value", readJson(m_camera, m_name));
    } catch (const Failure& failure) {
        tell("Value", "(" + failure.reason() + ")", "valueError", json(failure.reason()));
    }
    tellText("Unit", "unit", GBE_TEXT_UNIT);
}

void Description::tellLimits() {
    const char* name = m_name.c_str();
    long long min = 0;
    long long max = 0;
    long long increment = 1;
    double least = 0;
    double most = 0;
    if (m_kind == GBE_KIND_INTEGER &&
        Gbe_getIntegerLimits(m_camera, name, &min, &max, &increment) == GBE_SUCCESS) {
        tell(
            "Limits", integerText(m_camera, m_name, min) + " to " + integerText(m_camera, m_name, max), "min",
            static_cast<qint64>(min));
        tell("", "", "max", static_cast<qint64>(max));
        tell("Increment", std::to_string(increment), "increment", static_cast<qint64>(increment));
    } else if (m_kind == GBE_KIND_FLOAT && Gbe_getFloatLimits(m_camera, name, &least, &most) == GBE_SUCCESS) {
        tell("Limits", numberText(least) + " to " + numberText(most), "min", least);
        tell("", "", "max", most);
    } else if (m_kind == GBE_KIND_STRING && Gbe_getStringLimit(m_camera, name, &max) == GBE_SUCCESS) {
        tell("Most bytes", std::to_string(max), "maxLength", static_cast<qint64>(max));
    }
}

std::vector<std::string> Description::deciders(const char* element) const {
    std::vector<std::string> texts;
    for (const std::string& node : m_graph.valueChain(m_name)) {
        for (const auto& reference : m_graph.references(node)) {
            if (reference.element == element) {
                for (const std::string& feature : m_graph.featuresBehind(reference.node)) {
                    texts.push_back(feature + " = " + valueNow(feature));
                }
            }
        }
    }
    return texts;
}

void Description::tellAccess() {
    GbeFeatureInfo info{};
    if (const int code = Gbe_getFeatureInfo(m_camera, m_name.c_str(), &info); code < 0) {
        tell(
            "Access", "(" + Failure(m_name, code).reason() + ")", "accessError",
            json(Failure(m_name, code).reason()));
        return;
    }
    const std::string access = accessName(info.access);
    tell("Access", info.locked != 0 ? access + ", locked now" : access, "access", json(access));
    tell("", "", "locked", info.locked != 0);
    static constexpr struct {
        const char* element;
        const char* label;
        const char* key;
    } kDeciders[] = {
        {"pIsImplemented", "Implemented by", "implementedBy"},
        {"pIsAvailable", "Available by", "availableBy"},
        {"pIsLocked", "Locked by", "lockedBy"},
    };
    for (const auto& [element, label, key] : kDeciders) {
        if (const auto texts = deciders(element); !texts.empty()) {
            tell(label, joined(texts), key, json(texts));
        }
    }
    static constexpr const char* kLevels[] = {"", "beginner", "expert", "guru", "invisible"};
    if (info.visibility > GBE_VISIBILITY_NOT_GIVEN && info.visibility <= GBE_VISIBILITY_INVISIBLE) {
        tell("Visibility", kLevels[info.visibility], "visibility", json(kLevels[info.visibility]));
    }
    tell("Saved", info.streamable != 0 ? "yes" : "no", "streamable", info.streamable != 0);
}

void Description::tellList(const char* label, const char* key, int list) {
    if (const auto names = featureList(m_camera, m_name, list); !names.empty()) {
        tell(label, joined(names), key, json(names));
    }
}

void Description::tellLinks(
    const char* label, const char* key, const std::vector<DescriptionGraph::Link>& links) {
    QJsonObject object;
    std::string text;
    for (std::size_t i = 0; i < links.size(); ++i) {
        const bool isNew = i == 0 || links[i - 1].feature != links[i].feature;
        const bool isLast = i + 1 == links.size() || links[i + 1].feature != links[i].feature;
        text += isNew ? (i == 0 ? "" : ", ") + links[i].feature + " (" : ", ";
        text += roleName(links[i].role);
        text += isLast ? ")" : "";
        const QString feature = QString::fromStdString(links[i].feature);
        QJsonArray roles = object[feature].toArray();
        roles.append(roleName(links[i].role));
        object[feature] = roles;
    }
    if (!links.empty()) {
        tell(label, text, key, object);
    }
}

// Of the first register on the way to the value.
void Description::tellPlace() {
    for (const std::string& node : m_graph.valueChain(m_name)) {
        long long address = 0;
        long long length = 0;
        if (Gbe_getRegisterPlace(m_camera, node.c_str(), &address, &length) == GBE_SUCCESS) {
            const std::string text = hexText(static_cast<unsigned long long>(address));
            tell(
                "Address",
                text + ", " + std::to_string(length) + " bytes" + (node == m_name ? "" : " (" + node + ")"),
                "address", json(text));
            tell("", "", "length", static_cast<qint64>(length));
            tell("", "", "register", json(node));
            return;
        }
    }
}

QJsonArray Description::entries() const {
    const auto available = featureList(m_camera, m_name, GBE_LIST_AVAILABLE_ENTRIES);
    QJsonArray array;
    for (const std::string& entry : featureList(m_camera, m_name, GBE_LIST_ENTRIES)) {
        long long value = 0;
        Gbe_getEntryValue(m_camera, m_name.c_str(), entry.c_str(), &value);
        const bool isAvailable = std::find(available.begin(), available.end(), entry) != available.end();
        array.append(QJsonObject{
            {"name", json(entry)}, {"value", static_cast<qint64>(value)}, {"available", isAvailable}});
    }
    return array;
}

void Description::collect() {
    tellWhat();
    tellValue();
    tellLimits();
    tellAccess();
    tellList("Members", "members", GBE_LIST_MEMBERS);
    tellList("Selected by", "selectedBy", GBE_LIST_SELECTING);
    tellList("Selects", "selects", GBE_LIST_SELECTED);
    tellLinks("Depends on", "dependsOn", m_graph.dependencies(m_name));
    tellLinks("Counts for", "countsFor", m_graph.dependents(m_name));
    tellPlace();
}

void Description::print() {
    collect();
    std::printf("%s\n", heading(m_name).c_str());
    Table table;
    for (const Fact& fact : m_facts) {
        if (*fact.label != '\0') {
            table.add({fact.label, fact.text});
        }
    }
    table.print(2);
    Table entryTable({"ENTRY", "VALUE", "NOW"});
    const QJsonArray all = entries();
    for (const auto& each : all) {
        const QJsonObject entry = each.toObject();
        entryTable.add(
            {entry["name"].toString().toStdString(), std::to_string(entry["value"].toVariant().toLongLong()),
             entry["available"].toBool() ? "" : "not available"});
    }
    if (m_kind == GBE_KIND_ENUMERATION) {
        entryTable.print(2);
    }
}

QJsonObject Description::object() {
    collect();
    QJsonObject object{{"name", json(m_name)}};
    for (const Fact& fact : m_facts) {
        object.insert(fact.key, fact.value);
    }
    if (m_kind == GBE_KIND_ENUMERATION) {
        object.insert("entries", entries());
    }
    return object;
}

Run define(CLI::App& command, Context& context) {
    const auto name = std::make_shared<std::string>();
    command.add_option("NAME", *name, "Name of a feature, or of a node behind the features")->required();
    addJson(command, context);
    return [=, &context] {
        Description description(context.session(Purpose::Look).camera.get(), *name);
        context.json ? print(QJsonDocument(description.object())) : description.print();
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe describe Width", "limits, unit, who may lock it, what its limits depend on"},
    {"gbe describe PixelFormat", "its entries, their numbers, and which of them may be set now"},
    {"gbe describe --json ExposureTime", "for a program"},
};

} // namespace

extern const Verb kDescribeVerb{
    "describe",
    Group::Features,
    "Tells everything about a feature",
    &define,
    kExamples,
    "\"Available by\" and \"Locked by\" name the features that decide that, with their values of now. \"Depends "
    "on\" and \"Counts for\" name its neighbours in the description, and what of the feature they have to do "
    "with: its value, its limits, its access, its place in the camera's memory, or when it is read again."};

} // namespace gbe
