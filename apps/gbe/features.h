// Features of any kind as texts, and the description's categories.
#pragma once

#include "liomol/gige.h"

#include <QtCore/QJsonValue>

#include <string>
#include <vector>

namespace gbe {

// "integer", "float", ... for one of GbeFeatureKind.
const char* kindName(int kind);

struct Category {
    std::string name;
    std::vector<std::string> features; // without the categories among them
};

// Those that "Root" leads to and itself, each once, in the order of the description.
std::vector<Category> categoriesOf(CameraHandle* camera);
// Of all nodes, helpers behind the features too, in the order of names. Throws Failure.
std::vector<std::string> allNames(CameraHandle* camera);
// One of GbeFeatureList; empty for a kind that has none.
std::vector<std::string> featureList(CameraHandle* camera, const std::string& name, int list);

// Reads ahead what reading these features needs, with a few commands in place of one for each. Names that are
// none do not count, and what fails is told by who reads the feature.
void readAhead(CameraHandle* camera, const std::vector<std::string>& names);

// These throw Failure with the feature's name.

int featureKind(CameraHandle* camera, const std::string& name);
// As it is set: numbers with all their digits, or 0x... or an address where the description wants them shown
// so; true and false; the bytes of a register as 0x and two digits each.
std::string readText(CameraHandle* camera, const std::string& name);
// A value of this feature, as readText would give it.
std::string integerText(CameraHandle* camera, const std::string& name, long long value);
// A value for a table: a long one is cut.
std::string shortened(const std::string& value);
// Numbers and booleans as such, everything else as text.
QJsonValue readJson(CameraHandle* camera, const std::string& name);
// Numbers may be hexadecimal (0x...) or, where they are shown so, addresses, or have a unit that can be
// changed into the feature's; booleans are true, false, 1 or 0; enumerations take an entry's name, registers
// their bytes as readText gives them.
void writeText(CameraHandle* camera, const std::string& name, const std::string& value);

struct Setting {
    enum class Step { None, Up, Down };

    std::string name;
    Step step = Step::None; // Up and Down: from the value of now
    std::string value;
};
// NAME=VALUE, NAME+=STEP and NAME-=STEP.
std::vector<Setting> parseSettings(const std::vector<std::string>& texts);
void apply(CameraHandle* camera, const Setting& setting);
// Executes and waits until the command says that it is done, for so many seconds at most.
inline constexpr double kCommandSeconds = 10;
void execute(CameraHandle* camera, const std::string& name, double seconds = kCommandSeconds);

// The camera's description, as it was loaded.
std::string readDescription(CameraHandle* camera);

} // namespace gbe
