// gbe list: the features of a camera with their values.
#include "common/terminal_text.h"
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/Interrupt.h"
#include "gbe/Json.h"
#include "gbe/Selectors.h"
#include "gbe/Table.h"
#include "gbe/Terminal.h"
#include "gbe/features.h"
#include "gbe/files.h"
#include "gbe/options.h"
#include "gbe/settings_texts.h"
#include "gbe/similar.h"
#include "liomol/features.h"
#include "liomol/settings.h"

#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>

namespace gbe {
namespace {

struct Request {
    std::string category;
    std::string match;
    std::string visibility;
    std::string changedSince;
    bool all = false;
    bool selectors = false;
};

constexpr const char* kVisibilities[] = {"beginner", "expert", "guru", "invisible"};

int visibilityNamed(const std::string& name) {
    const auto* found = std::find(std::begin(kVisibilities), std::end(kVisibilities), name);
    return GBE_VISIBILITY_BEGINNER + static_cast<int>(found - std::begin(kVisibilities));
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// Of a feature in one position of its selectors; in all of them.
struct Line {
    QJsonObject object;
    std::vector<std::string> row;
};
using Lines = std::vector<Line>;

class List {
public:
    List(CameraHandle* camera, const Request& request, bool json)
        : m_camera(camera), m_request(request), m_json(json) {
        if (request.selectors) {
            m_selectors.emplace(camera);
        }
    }

    void run();

private:
    std::vector<Category> categories() const;
    void readAhead(const std::vector<Category>& categories) const;
    bool isNamed(const std::string& name) const;
    bool isWanted(const std::string& name) const;
    std::vector<std::string> wantedOf(const Category& category) const;
    std::vector<Lines> linesOf(const Category& category, const std::vector<std::string>& names);
    void show(const Category& category);
    Line lineOf(const std::string& category, const std::string& name, const Place& place) const;

    CameraHandle* m_camera;
    const Request& m_request;
    const bool m_json;
    std::optional<Selectors> m_selectors;
    Interrupt m_interrupt;
    QJsonArray m_array;
};

std::vector<Category> List::categories() const {
    if (m_request.all) {
        return {{"", allNames(m_camera)}};
    }
    std::vector<Category> all = categoriesOf(m_camera);
    if (m_request.category.empty()) {
        return all;
    }
    std::vector<std::string> names;
    for (const Category& category : all) {
        names.push_back(category.name);
        if (category.name == m_request.category) {
            return {category};
        }
    }
    throw Failure(
        m_request.category + ": no such category" + suggestion(m_request.category, names), ExitStatus::Usage);
}

void List::readAhead(const std::vector<Category>& categories) const {
    std::vector<std::string> names;
    for (const Category& category : categories) {
        std::ranges::copy_if(
            category.features, std::back_inserter(names), [&](const auto& name) { return isNamed(name); });
    }
    gbe::readAhead(m_camera, names);
}

bool List::isNamed(const std::string& name) const {
    return lower(name).find(lower(m_request.match)) != std::string::npos;
}

bool List::isWanted(const std::string& name) const {
    if (!isNamed(name)) {
        return false;
    }
    GbeFeatureInfo info{};
    return m_request.visibility.empty() ||
           (Gbe_getFeatureInfo(m_camera, name.c_str(), &info) == GBE_SUCCESS &&
            info.visibility <= visibilityNamed(m_request.visibility));
}

Line List::lineOf(const std::string& category, const std::string& name, const Place& place) const {
    if (m_interrupt.asked()) {
        throw Failure("interrupted");
    }
    const int kind = featureKind(m_camera, name);
    QJsonObject object{
        {"name", QString::fromStdString(name)},
        {"kind", kindName(kind)},
    };
    std::string text;
    try {
        if (kind != GBE_KIND_COMMAND && kind != GBE_KIND_CATEGORY) {
            text = m_json ? "" : shortened(readText(m_camera, name));
            object.insert("value", m_json ? readJson(m_camera, name) : QJsonValue());
        }
    } catch (const Failure& failure) { // also of what cannot be read a person wants to know
        text = "(" + failure.reason() + ")";
        object.insert("error", QString::fromStdString(failure.reason()));
    }
    if (!category.empty()) {
        object.insert("category", QString::fromStdString(category));
    }
    for (const auto& [selector, value] : place) {
        QJsonObject selectors = object["selectors"].toObject();
        selectors.insert(QString::fromStdString(selector), QString::fromStdString(value));
        object["selectors"] = selectors;
    }
    return {object, {name + placeText(place), kindName(kind), text}};
}

std::vector<std::string> List::wantedOf(const Category& category) const {
    std::vector<std::string> names;
    std::ranges::copy_if(category.features, std::back_inserter(names), [&](const std::string& name) {
        int kind = GBE_KIND_OTHER;
        return Gbe_getFeatureKind(m_camera, name.c_str(), &kind) == GBE_SUCCESS && isWanted(name);
    });
    return names;
}

// Features of the same selectors are read together in each position of these.
std::vector<Lines> List::linesOf(const Category& category, const std::vector<std::string>& names) {
    std::map<std::vector<std::string>, std::vector<std::size_t>> groups;
    for (std::size_t i = 0; i < names.size(); ++i) {
        groups[m_selectors ? m_selectors->of(names[i]) : std::vector<std::string>{}].push_back(i);
    }
    std::vector<Lines> lines(names.size());
    for (const auto& [selectors, group] : groups) {
        std::vector<std::string> together;
        std::ranges::transform(group, std::back_inserter(together), [&](std::size_t i) { return names[i]; });
        const auto visit = [&](const Place& place) {
            if (!place.empty()) {
                gbe::readAhead(m_camera, together);
            }
            for (const std::size_t i : group) {
                lines[i].push_back(lineOf(category.name, names[i], place));
            }
        };
        selectors.empty() ? visit({}) : m_selectors->each(selectors, visit);
    }
    return lines;
}

void List::show(const Category& category) {
    Table table;
    for (const Lines& lines : linesOf(category, wantedOf(category))) {
        for (const Line& line : lines) {
            m_json ? m_array.append(line.object) : table.add(line.row);
        }
    }
    if (!table.empty() && !category.name.empty()) {
        std::printf("%s\n", heading(common::terminalText(category.name)).c_str());
    }
    table.print(category.name.empty() ? 0 : 2);
}

void List::run() {
    const std::vector<Category> all = categories();
    readAhead(all);
    for (const Category& category : all) {
        show(category);
    }
    if (m_json) {
        print(QJsonDocument(m_array));
    }
}

// Against a file that gbe save has written.
void listChanges(Context& context, const std::string& file) {
    const std::string before = readFile(file);
    const std::string now = settingsOf(context, 0);
    const char* differences = "";
    const int code = Gbe_compareSettings(
        nullptr, before.data(), static_cast<unsigned>(before.size()), now.data(),
        static_cast<unsigned>(now.size()), &differences);
    if (code == GBE_ERROR_ILLEGAL_PARAMETER) {
        throw Failure(file + ": " + differences);
    }
    check(file, code);
    Table table({"NAME", "SAVED", "NOW"});
    QJsonArray array;
    for (const QString& line : QString::fromUtf8(differences).split('\n', Qt::SkipEmptyParts)) {
        const QStringList parts = line.split('\t');
        array.append(QJsonObject{{"name", parts[0]}, {"saved", parts.value(1)}, {"now", parts.value(2)}});
        table.add(
            {parts[0].toStdString(), shortened(parts.value(1).toStdString()),
             shortened(parts.value(2).toStdString())});
    }
    if (context.json) {
        print(QJsonDocument(array));
    } else if (!array.isEmpty()) {
        table.print();
    }
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<Request>();
    command.add_option("CATEGORY", request->category, "Only the features of this one");
    command.add_option("--match", request->match, "Only those with this in their names, in whatever case")
        ->type_name("PART");
    command
        .add_option(
            "--visibility", request->visibility, "Only those up to beginner, expert, guru or invisible")
        ->check(oneOf({std::begin(kVisibilities), std::end(kVisibilities)}))
        ->type_name("LEVEL");
    command.add_flag(
        "--selectors", request->selectors,
        "In every position of their selectors, which are put back as they were; takes control");
    command
        .add_option(
            "--changed-since", request->changedSince,
            "Only those that gbe save has written into this file with other values; takes control")
        ->type_name("FILE");
    command.add_flag("--all", request->all, "Helpers behind the features too, in the order of names");
    addJson(command, context);
    return [=, &context] {
        if (!request->changedSince.empty()) {
            listChanges(context, request->changedSince);
            return ExitStatus::Success;
        }
        const Purpose purpose = request->selectors ? Purpose::Work : Purpose::Look;
        List(context.session(purpose).camera.get(), *request, context.json).run();
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe list", "every feature by category, with its kind and its value"},
    {"gbe list AnalogControl --selectors", "one category, in every position of its selectors"},
    {"gbe list --match trigger --visibility expert", "a part of a name, and nothing for gurus"},
    {"gbe list --json --match exposure", "for a program"},
    {"gbe save before.txt; gbe list --changed-since before.txt", "what is not as it was any more"},
};

} // namespace

extern const Verb kListVerb{
    "list",
    Group::Features,
    "Lists the features with their values",
    &define,
    kExamples,
    "What cannot be read tells why in brackets. Long values are cut; gbe get prints them whole."};

} // namespace gbe
