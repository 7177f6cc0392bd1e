// gbe watch and gbe wait: what becomes of features.
#include "common/terminal_text.h"
#include "gbe/Failure.h"
#include "gbe/FeatureWatch.h"
#include "gbe/Interrupt.h"
#include "gbe/Json.h"
#include "gbe/conditions.h"
#include "gbe/features.h"
#include "gbe/options.h"

#include <QtCore/QDateTime>
#include <QtCore/QLocale>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

namespace gbe {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kInterruptible{250}; // a wish to stop is seen after this time

std::string numberText(double value) {
    return QString::number(value, 'g', QLocale::FloatingPointShortest).toStdString(); // in every locale
}

// Of the time that was given; without one there is always some.
double secondsLeft(Clock::time_point begin, const std::optional<double>& seconds) {
    const std::chrono::duration<double> passed = Clock::now() - begin;
    return seconds ? *seconds - passed.count() : 3600;
}

milliseconds slice(double left) {
    return std::min(kInterruptible, milliseconds(static_cast<milliseconds::rep>(left * 1000) + 1));
}

// ---- watch -----------------------------------------------------------------------------------------------

std::string stateText(CameraHandle* camera, const std::string& name) {
    GbeFeatureInfo info{};
    check(name, Gbe_getFeatureInfo(camera, name.c_str(), &info));
    return info.access == GBE_ACCESS_NOT_IMPLEMENTED ? "not implemented"
           : info.access == GBE_ACCESS_NOT_AVAILABLE ? "not available"
           : info.locked != 0                        ? "locked"
                                                     : "available";
}

std::string limitsText(CameraHandle* camera, const std::string& name) {
    long long low = 0;
    long long high = 0;
    double least = 0;
    double most = 0;
    switch (featureKind(camera, name)) {
    case GBE_KIND_INTEGER:
        check(name, Gbe_getIntegerLimits(camera, name.c_str(), &low, &high, nullptr));
        return integerText(camera, name, low) + " to " + integerText(camera, name, high);
    case GBE_KIND_FLOAT:
        check(name, Gbe_getFloatLimits(camera, name.c_str(), &least, &most));
        return numberText(least) + " to " + numberText(most);
    default:
        check(name, Gbe_getStringLimit(camera, name.c_str(), &high));
        return "up to " + std::to_string(high) + " bytes";
    }
}

// What is so now, or why that cannot be told.
std::string textNow(CameraHandle* camera, const std::string& name, int what) {
    try {
        return what == GBE_CHANGE_VALUE    ? readText(camera, name)
               : what == GBE_CHANGE_LIMITS ? limitsText(camera, name)
                                           : stateText(camera, name);
    } catch (const Failure& failure) {
        return "(" + failure.reason() + ")";
    }
}

void printChange(CameraHandle* camera, const std::string& name, const FeatureChange& change, bool json) {
    static constexpr const char* kWhat[] = {"value", "limits", "state"};
    const auto since = std::chrono::duration_cast<milliseconds>(change.time.time_since_epoch());
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(since.count());
    const std::string text = textNow(camera, name, change.what);
    if (json) {
        printLine(
            {{"time", time.toUTC().toString(Qt::ISODateWithMs)},
             {"feature", QString::fromStdString(name)},
             {"what", kWhat[change.what]},
             {kWhat[change.what], change.what == GBE_CHANGE_VALUE && !text.starts_with('(')
                                      ? readJson(camera, name)
                                      : QJsonValue(QString::fromStdString(text))}});
        return;
    }
    const std::string what = change.what == GBE_CHANGE_VALUE ? "" : std::string(" ") + kWhat[change.what];
    std::printf(
        "%s  %s%s  %s\n", time.toString("HH:mm:ss.zzz").toUtf8().constData(),
        common::terminalText(name).c_str(), what.c_str(), common::terminalText(text).c_str());
    flushOutput();
}

struct WatchRequest {
    std::vector<std::string> names;
    std::size_t count = 0;
    std::optional<double> seconds;
};

ExitStatus watch(Context& context, const WatchRequest& request) {
    CameraHandle* const camera = context.session(Purpose::Look).camera.get();
    FeatureWatch features(camera, request.names);
    const Interrupt interrupt;
    for (std::size_t i = 0; i < request.names.size(); ++i) {
        printChange(
            camera, request.names[i], {i, GBE_CHANGE_VALUE, std::chrono::system_clock::now()}, context.json);
    }
    const auto begin = Clock::now();
    std::size_t changes = 0;
    for (double left = secondsLeft(begin, request.seconds); left > 0 && !interrupt.asked();
         left = secondsLeft(begin, request.seconds)) {
        for (const FeatureChange& change : features.wait(slice(left))) {
            printChange(camera, request.names[change.feature], change, context.json);
            if (++changes == request.count) {
                return ExitStatus::Success;
            }
        }
    }
    return ExitStatus::Success;
}

Run defineWatch(CLI::App& command, Context& context) {
    const auto request = std::make_shared<WatchRequest>();
    command.add_option("NAME", request->names, "Names of features")->required();
    command.add_option("-n,--count", request->count, "Ends after so many changes (default: at Ctrl-C)")
        ->check(within(1U, 1'000'000'000U))
        ->type_name("N");
    addSeconds(command, "--seconds", request->seconds, "Ends by itself after that time", 0.001);
    addJson(command, context);
    return [=, &context] { return watch(context, *request); };
}

// ---- wait ------------------------------------------------------------------------------------------------

struct WaitRequest {
    std::vector<std::string> conditions;
    std::optional<double> seconds;
};

// Those that are not so now; the last values of all go to `values`.
std::string missing(CameraHandle* camera, const std::vector<Condition>& conditions) {
    std::string text;
    for (const Condition& condition : conditions) {
        const std::string value = textNow(camera, condition.name, GBE_CHANGE_VALUE);
        if (!condition.holdsFor(value)) {
            text += (text.empty() ? "" : ", ") + condition.name + " is " + value;
        }
    }
    return text;
}

ExitStatus wait(Context& context, const WaitRequest& request) {
    const std::vector<Condition> conditions = parseConditions(request.conditions);
    std::vector<std::string> names;
    for (const Condition& condition : conditions) {
        names.push_back(condition.name);
    }
    CameraHandle* const camera = context.session(Purpose::Look).camera.get();
    FeatureWatch features(camera, names);
    const Interrupt interrupt;
    const auto begin = Clock::now();
    std::string text = missing(camera, conditions);
    while (!text.empty()) {
        if (interrupt.asked()) {
            throw Failure("interrupted: " + text);
        }
        const double left = secondsLeft(begin, request.seconds);
        if (left <= 0) {
            throw Failure("not within " + numberText(*request.seconds) + " s: " + text);
        }
        features.wait(slice(left));
        text = missing(camera, conditions);
    }
    return ExitStatus::Success;
}

Run defineWait(CLI::App& command, Context& context) {
    const auto request = std::make_shared<WaitRequest>();
    command
        .add_option(
            "CONDITION", request->conditions, "NAME=VALUE, or with !=, <, >, <= or >=; all at the same time")
        ->required();
    addSeconds(
        command, "--timeout", request->seconds, "Seconds; after them the status is 1 (default: no end)");
    return [=, &context] { return wait(context, *request); };
}

constexpr Example kWatchExamples[] = {
    {"gbe watch -n 3 DeviceUptime", "three changes of a feature that the camera changes by itself"},
    {"gbe watch --json --seconds 2 DeviceUptime Width", "for two seconds, an object a line"},
};

constexpr Example kWaitExamples[] = {
    {"gbe wait --timeout 10 'DeviceTemperature<80' AcquisitionStatus=false", "until both are so"},
};

} // namespace

extern const Verb kWatchVerb{
    "watch",
    Group::Features,
    "Prints each change of features, with its time, until stopped",
    &defineWatch,
    kWatchExamples,
    "First their values as they are. Then a line for each change of a value, of limits, and of whether a "
    "feature can be used or is locked: as it happens where this program has control, within a second where "
    "another one writes to the camera. Ends with status 6 when the camera is lost."};

extern const Verb kWaitVerb{
    "wait",      Group::Features, "Waits until features have values",
    &defineWait, kWaitExamples,   "Numbers are compared as numbers, texts only for being the same."};

} // namespace gbe
