// gbe xml: the description of a camera, as it gave it.
#include "common/terminal_text.h"
#include "gbe/Context.h"
#include "gbe/OutputFile.h"
#include "gbe/features.h"
#include "gbe/options.h"

#include <unistd.h>

#include <cstdint>
#include <memory>

namespace gbe {
namespace {

// "-" stands for standard output.
void saveDescription(CameraHandle* camera, const std::string& file) {
    std::string text = readDescription(camera);
    if (file == "-" && isatty(STDOUT_FILENO) != 0) {
        text = common::terminalLines(text);
    }
    OutputFile out(file);
    out.write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    out.close();
}

Run define(CLI::App& command, Context& context) {
    const auto file = std::make_shared<std::string>("-");
    command.add_option("-o,--output", *file, "File (default: standard output)")->type_name("FILE");
    return [=, &context] {
        saveDescription(context.session(Purpose::Look).camera.get(), *file);
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe xml -o camera.xml", "to a file"},
};

} // namespace

extern const Verb kXmlVerb{"xml", Group::Features, "Saves the camera's description", &define, kExamples};

} // namespace gbe
