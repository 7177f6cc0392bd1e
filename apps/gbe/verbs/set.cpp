// gbe set and gbe exec: writes features, executes commands.
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/features.h"
#include "gbe/options.h"

#include <memory>

namespace gbe {
namespace {

// All texts are read before the first is written.
ExitStatus setFeatures(Context& context, Purpose purpose, const std::vector<std::string>& texts) {
    const std::vector<Setting> settings = parseSettings(texts);
    CameraHandle* camera = context.session(purpose).camera.get();
    for (const Setting& setting : settings) {
        apply(camera, setting);
    }
    return ExitStatus::Success;
}

Run defineSet(CLI::App& command, Context& context) {
    const auto texts = std::make_shared<std::vector<std::string>>();
    command.add_option("NAME=VALUE", *texts, "Names of features and their values")->required();
    const auto purpose = std::make_shared<Purpose>(Purpose::Work);
    addExclusive(command, *purpose);
    return [=, &context] { return setFeatures(context, *purpose, *texts); };
}

Run defineExec(CLI::App& command, Context& context) {
    const auto name = std::make_shared<std::string>();
    const auto seconds = std::make_shared<double>(kCommandSeconds);
    command.add_option("COMMAND", *name, "Name of a command")->required();
    addSeconds(command, "--timeout", *seconds, "Seconds until it must be done (default: 10)");
    return [=, &context] {
        execute(context.session(Purpose::Work).camera.get(), *name, *seconds);
        return ExitStatus::Success;
    };
}

constexpr Example kSetExamples[] = {
    {"gbe set Width=640 PixelFormat=Mono8", "two features, in this order"},
    {"gbe set ExposureTime=10ms AcquisitionFrameRate=0.02kHz",
     "in other units than those of the description"},
    {"gbe set Width-=64 Gain+=1.5", "in steps from what they are now"},
    {"gbe set ReverseX=true", "a boolean"},
};

constexpr Example kExecExamples[] = {
    {"gbe exec TimestampLatch", "waits until the camera says that it is done"},
};

} // namespace

extern const Verb kSetVerb{
    "set",
    Group::Features,
    "Writes features",
    &defineSet,
    kSetExamples,
    "They are written in the order given, up to the first that the camera does not take. NAME+=STEP and "
    "NAME-=STEP go on from the value of now. Numbers may be hexadecimal (0x...), and have a unit where the "
    "description gives the feature one that measures the same: s, ms, us and ns; Hz, kHz and MHz; and the "
    "like. Booleans are true and false, or 1 and 0; registers take their bytes as 0x and two digits each."};

extern const Verb kExecVerb{
    "exec",
    Group::Features,
    "Executes a command and waits until it is done",
    &defineExec,
    kExecExamples,
    "Control of the camera ends with the verb, and with it what a camera does only under control, an "
    "acquisition for one: gbe shell keeps it from line to line, gbe grab and gbe stream start and stop it "
    "themselves."};

} // namespace gbe
