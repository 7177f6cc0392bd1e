#include "verbs.h"

#include <algorithm>
#include <iterator>

namespace gbe {

extern const Verb kBoardsVerb;
extern const Verb kScanVerb;
extern const Verb kInfoVerb;
extern const Verb kListVerb;
extern const Verb kDescribeVerb;
extern const Verb kGetVerb;
extern const Verb kSetVerb;
extern const Verb kExecVerb;
extern const Verb kXmlVerb;
extern const Verb kSaveVerb;
extern const Verb kLoadVerb;
extern const Verb kDiffVerb;
extern const Verb kWatchVerb;
extern const Verb kWaitVerb;
extern const Verb kShellVerb;
extern const Verb kReadVerb;
extern const Verb kWriteVerb;
extern const Verb kGrabVerb;
extern const Verb kStreamVerb;
extern const Verb kIpShowVerb;
extern const Verb kIpSetVerb;
extern const Verb kIpPortVerb;
extern const Verb kRescanVerb;
extern const Verb kDoctorVerb;
extern const Verb kTopVerb;
extern const Verb kCaptureVerb;
extern const Verb kReportVerb;
extern const Verb kDemoVerb;
extern const Verb kHelpVerb;
extern const Verb kCompleteVerb;

namespace {

// Within a group in the order in which they are shown.
// clang-format off
constexpr const Verb* kVerbs[] = {
    &kBoardsVerb,
    &kScanVerb,
    &kInfoVerb,

    &kListVerb,
    &kDescribeVerb,
    &kGetVerb,
    &kSetVerb,
    &kExecVerb,
    &kXmlVerb,
    &kSaveVerb,
    &kLoadVerb,
    &kDiffVerb,
    &kWatchVerb,
    &kWaitVerb,
    &kShellVerb,
    &kReadVerb,
    &kWriteVerb,

    &kGrabVerb,
    &kStreamVerb,

    &kIpShowVerb,
    &kIpSetVerb,
    &kIpPortVerb,
    &kRescanVerb,

    &kDoctorVerb,
    &kTopVerb,
    &kCaptureVerb,
    &kReportVerb,
    &kDemoVerb,

    &kHelpVerb,

    &kCompleteVerb,
};
// clang-format on

constexpr Family kFamilies[] = {
    {"ip", "Addresses of ports and cameras"},
};

} // namespace

std::span<const Verb* const> verbs() {
    return kVerbs;
}

const Verb* findVerb(const std::string& name) {
    const auto* found = std::find_if(
        std::begin(kVerbs), std::end(kVerbs), [&](const Verb* each) { return name == each->name; });
    return found != std::end(kVerbs) ? *found : nullptr;
}

std::span<const Family> families() {
    return kFamilies;
}

const char* heading(Group group) {
    static constexpr const char* kHeadings[] = {
        "Cameras",      "Features", "Images", "Addresses and the service", "When something is wrong",
        "This program", "",
    };
    static_assert(std::size(kHeadings) == static_cast<std::size_t>(Group::Hidden) + 1);
    return kHeadings[static_cast<std::size_t>(group)];
}

} // namespace gbe
