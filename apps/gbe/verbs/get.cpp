// gbe get: reads features.
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/Json.h"
#include "gbe/Table.h"
#include "gbe/features.h"
#include "gbe/options.h"

#include <memory>

namespace gbe {
namespace {

struct Request {
    std::vector<std::string> names;
    bool valuesOnly = false;
    bool json = false;
};

// Prints those that can be read, and names the others on standard error. Among bare values their lines are
// empty. The status is that of the first failure.
ExitStatus getFeatures(CameraHandle* camera, const Request& request) {
    QJsonObject object;
    Table table;
    std::vector<Failure> failures;
    readAhead(camera, request.names);
    for (const std::string& name : request.names) {
        try {
            if (request.json) {
                object.insert(QString::fromStdString(name), readJson(camera, name));
                continue;
            }
            const std::string value = readText(camera, name);
            table.add(request.valuesOnly ? std::vector{value} : std::vector{name, value});
        } catch (const Failure& failure) {
            failures.push_back(failure);
            if (request.valuesOnly) {
                table.add({""});
            }
        }
    }
    request.json ? print(QJsonDocument(object)) : table.print();
    for (const Failure& failure : failures) {
        complain(failure.what());
    }
    return failures.empty() ? ExitStatus::Success : failures.front().status();
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<Request>();
    command.add_option("NAME", request->names, "Names of features")->required();
    command.add_flag("-q,--values", request->valuesOnly, "Only the values");
    addJson(command, context);
    return [=, &context] {
        request->json = context.json;
        return getFeatures(context.session(Purpose::Look).camera.get(), *request);
    };
}

constexpr Example kExamples[] = {
    {"gbe get Width PixelFormat", "two features with their names"},
    {"gbe get -q Width", "the bare value, for a script"},
    {"gbe get --json Width Gain ReverseX", "numbers and booleans as such"},
};

} // namespace

extern const Verb kGetVerb{
    "get",
    Group::Features,
    "Reads features",
    &define,
    kExamples,
    "What cannot be read is named on standard error, and the others are printed all the same."};

} // namespace gbe
