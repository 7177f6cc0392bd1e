// gbe list: the features of a camera with their values.
#include "common/terminal_text.h"
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/Table.h"
#include "gbe/Terminal.h"
#include "gbe/features.h"
#include "gbe/options.h"

#include <cstdio>
#include <memory>

namespace gbe {
namespace {

// The value for a person's eyes: what cannot be read tells why.
std::string valueOrReason(CameraHandle* camera, const std::string& name, int kind) {
    if (kind == GBE_KIND_COMMAND) {
        return "";
    }
    try {
        return readText(camera, name);
    } catch (const Failure& failure) {
        return "(" + failure.reason() + ")";
    }
}

void listAll(CameraHandle* camera) {
    Table table({"NAME", "KIND", "VALUE"});
    for (const std::string& name : allNames(camera)) {
        const int kind = featureKind(camera, name);
        table.add({name, kindName(kind), valueOrReason(camera, name, kind)});
    }
    table.print();
}

void listFeatures(CameraHandle* camera, bool all) {
    if (all) {
        listAll(camera);
        return;
    }
    for (const Category& category : categoriesOf(camera)) {
        Table table;
        for (const std::string& feature : category.features) {
            int kind = GBE_KIND_OTHER;
            if (Gbe_getFeatureKind(camera, feature.c_str(), &kind) == 0) {
                table.add({feature, kindName(kind), valueOrReason(camera, feature, kind)});
            }
        }
        if (!table.empty()) {
            std::printf("%s\n", heading(common::terminalText(category.name)).c_str());
            table.print(2);
        }
    }
}

Run define(CLI::App& command, Context& context) {
    const auto all = std::make_shared<bool>();
    command.add_flag("--all", *all, "Helpers behind the features too, in the order of names");
    return [=, &context] {
        listFeatures(context.session(Purpose::Look).camera.get(), *all);
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe list", "every feature by category, with its kind and its value"},
};

} // namespace

extern const Verb kListVerb{
    "list", Group::Features, "Lists the features with their values", &define, kExamples};

} // namespace gbe
