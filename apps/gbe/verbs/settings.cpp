// gbe save, gbe load and gbe diff: the features of a camera as files.
#include "liomol/settings.h"
#include "gbe/Failure.h"
#include "gbe/Json.h"
#include "gbe/Table.h"
#include "gbe/Terminal.h"
#include "gbe/options.h"
#include "gbe/settings_texts.h"

#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <cstdio>
#include <memory>

namespace gbe {
namespace {

QStringList linesOf(const std::string& text) {
    return QString::fromStdString(text).split('\n', Qt::SkipEmptyParts);
}

// ---- save ------------------------------------------------------------------------------------------------

struct SaveRequest {
    std::string file;
    bool identity = false;
};

ExitStatus save(Context& context, const SaveRequest& request) {
    const std::string text = settingsOf(context, request.identity ? GBE_SAVE_IDENTITY : 0);
    writeSettingsFile(request.file, text);
    const QString mark = "#! ";
    QJsonArray problems;
    int features = 0;
    for (const QString& line : linesOf(text)) {
        if (line.startsWith(mark)) {
            problems.append(line.mid(mark.size()));
            complain(line.mid(mark.size()).toStdString());
        }
        features += line.startsWith('#') || line.startsWith('[') ? 0 : 1;
    }
    if (context.json && request.file != "-") {
        print(QJsonDocument(QJsonObject{
            {"file", QString::fromStdString(request.file)}, {"values", features}, {"problems", problems}}));
    }
    return ExitStatus::Success;
}

Run defineSave(CLI::App& command, Context& context) {
    const auto request = std::make_shared<SaveRequest>();
    command.add_option("FILE", request->file, "File to be written; \"-\": standard output")->required();
    command.add_flag(
        "--identity", request->identity, "Names serial number and user-defined name in the heading");
    addJson(command, context);
    return [=, &context] { return save(context, *request); };
}

// ---- load ------------------------------------------------------------------------------------------------

struct LoadRequest {
    std::string file;
    bool dryRun = false;
    bool verify = false;
};

void printCounts(const GbeLoadCounts& counts, bool dryRun) {
    const auto part = [](unsigned count, const char* what) {
        return count != 0 ? ", " + std::to_string(count) + " " + what : std::string();
    };
    std::printf(
        "%u %s%s%s%s%s\n", counts.changed, dryRun ? "to be set" : "set",
        part(counts.same, "were so already").c_str(), part(counts.left, "locked and left").c_str(),
        part(counts.refused, "refused").c_str(), part(counts.different, "of other values now").c_str());
}

void printCountsJson(const GbeLoadCounts& counts, const std::string& report, bool dryRun) {
    const auto number = [](unsigned count) { return static_cast<qint64>(count); };
    QJsonArray remarks;
    for (const QString& line : linesOf(report)) {
        remarks.append(line);
    }
    print(QJsonDocument(QJsonObject{
        {"values", number(counts.values)},
        {"same", number(counts.same)},
        {"changed", number(counts.changed)},
        {"refused", number(counts.refused)},
        {"left", number(counts.left)},
        {"different", number(counts.different)},
        {"dryRun", dryRun},
        {"remarks", remarks}}));
}

// What a dry run tells is its result; what a real one tells are complaints.
void tellReport(const std::string& report, bool dryRun) {
    for (const QString& line : linesOf(report)) {
        if (dryRun) {
            std::printf("%s\n", common::terminalText(line.toStdString()).c_str());
        } else {
            complain(line.toStdString());
        }
    }
}

ExitStatus load(Context& context, const LoadRequest& request) {
    const std::string text = readSettingsFile(request.file);
    CameraHandle* const camera = context.session(Purpose::Work).camera.get();
    const int options = (request.dryRun ? GBE_LOAD_DRY_RUN : 0) | (request.verify ? GBE_LOAD_VERIFY : 0);
    GbeLoadCounts counts{};
    const char* told = "";
    const int code =
        Gbe_loadSettings(camera, text.data(), static_cast<unsigned>(text.size()), options, &counts, &told);
    const std::string report = told;
    if (code == GBE_ERROR_ILLEGAL_PARAMETER) {
        throw Failure(request.file + ": " + report, ExitStatus::Usage);
    }
    if (context.json) {
        printCountsJson(counts, report, request.dryRun);
    } else {
        tellReport(report, request.dryRun);
        printCounts(counts, request.dryRun);
    }
    check(request.file, code);
    const bool isBad = counts.refused > 0 || (request.verify && counts.different > 0);
    return isBad ? ExitStatus::Refused : ExitStatus::Success;
}

Run defineLoad(CLI::App& command, Context& context) {
    const auto request = std::make_shared<LoadRequest>();
    command.add_option("FILE", request->file, "File of settings; \"-\": standard input")->required();
    command.add_flag("-n,--dry-run", request->dryRun, "Tells what would change, and sets nothing");
    command.add_flag("--verify", request->verify, "Reads everything back from the camera in the end");
    addJson(command, context);
    return [=, &context] { return load(context, *request); };
}

// ---- diff ------------------------------------------------------------------------------------------------

// "camera", "camera:name:left"; nothing for a file.
std::optional<Selection> cameraOf(const std::string& side, const Selection& usual) {
    const std::string word = "camera";
    if (side == word) {
        return usual;
    }
    return side.starts_with(word + ":") ? std::optional(parseSelection(side.substr(word.size() + 1), side))
                                        : std::nullopt;
}

std::string textOf(Context& context, const std::string& side) {
    const Selection usual = context.selection;
    const std::optional<Selection> camera = cameraOf(side, usual);
    if (!camera) {
        return readSettingsFile(side);
    }
    context.selection = *camera;
    const std::string text = settingsOf(context, 0);
    context.selection = usual;
    return text;
}

void printDifferences(const QStringList& lines, bool json) {
    QJsonArray array;
    for (const QString& line : lines) {
        const QStringList parts = line.split('\t');
        const QString a = parts.value(1);
        const QString b = parts.value(2);
        if (json) {
            array.append(QJsonObject{
                {"feature", parts.value(0)},
                {"a", a.isEmpty() ? QJsonValue() : a},
                {"b", b.isEmpty() ? QJsonValue() : b}});
            continue;
        }
        const auto printSide = [&](const QString& value, char sign, Colour colour) {
            const QString text = parts.value(0) + "=" + value;
            if (!value.isEmpty()) {
                const std::string shown = sign + common::terminalText(text.toStdString());
                std::printf("%s\n", coloured(shown, colour, stdout).c_str());
            }
        };
        printSide(a, '-', Colour::Red);
        printSide(b, '+', Colour::Green);
    }
    if (json) {
        print(QJsonDocument(array));
    }
}

ExitStatus diff(Context& context, const std::string& a, const std::string& b) {
    const std::string first = textOf(context, a);
    const std::string second = textOf(context, b);
    const char* told = "";
    const int code = Gbe_compareSettings(
        nullptr, first.data(), static_cast<unsigned>(first.size()), second.data(),
        static_cast<unsigned>(second.size()), &told);
    if (code == GBE_ERROR_ILLEGAL_PARAMETER) {
        const std::string mistake = told; // "the second text: line 7: ..."
        throw Failure(
            (mistake.starts_with("the second") ? b : a) + mistake.substr(mistake.find(':')),
            ExitStatus::Usage);
    }
    check("comparing", code);
    const QStringList lines = linesOf(told);
    printDifferences(lines, context.json);
    return lines.isEmpty() ? ExitStatus::Success : ExitStatus::Other;
}

Run defineDiff(CLI::App& command, Context& context) {
    const auto sides = std::make_shared<std::pair<std::string, std::string>>();
    const char* const what = "A file, \"-\", \"camera\", or \"camera:\" and one, as in camera:name:left";
    command.add_option("A", sides->first, what)->required();
    command.add_option("B", sides->second, "The same (default: camera)")->default_val("camera");
    addJson(command, context);
    return [=, &context] { return diff(context, sides->first, sides->second); };
}

constexpr Example kSaveExamples[] = {
    {"gbe save camera.txt", "to a file"},
    {"gbe save -", "to look at"},
};

constexpr Example kLoadExamples[] = {
    {"gbe save camera.txt && gbe load --verify camera.txt", "the camera as it was"},
    {"gbe save camera.txt && gbe load --dry-run camera.txt", "what would change"},
};

constexpr Example kDiffExamples[] = {
    {"gbe save camera.txt && gbe diff camera.txt", "what has changed since"},
    {"gbe diff camera camera:port:0", "two cameras"},
};

} // namespace

extern const Verb kSaveVerb{
    "save",
    Group::Features,
    "Saves the features to a file that people can read and edit",
    &defineSave,
    kSaveExamples,
    "Every streamable feature in the order of the description, with its selectors. What could not be read is "
    "named on standard error and in a comment of the file."};

extern const Verb kLoadVerb{
    "load",
    Group::Features,
    "Sets the features to what a file says",
    &defineLoad,
    kLoadExamples,
    "Reads what gbe save has written, and plain lines of a name and a value. Repeats until limits that depend "
    "on one another have settled. Each value that could not be set is named with its line and the reason; "
    "the status is that of a refused value then."};

extern const Verb kDiffVerb{
    "diff",
    Group::Features,
    "Compares files of features, or cameras",
    &defineDiff,
    kDiffExamples,
    "The status is 0 when nothing differs and 1 when something does. A file that is called \"camera\" is "
    "\"./camera\"."};

} // namespace gbe
