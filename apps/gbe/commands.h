// The commands of gbe, one function each. They print to standard output and throw Failure.
#pragma once

#include "Session.h"

#include <string>
#include <vector>

namespace gbe {

enum class Format { Text, Json };

void showBoards(bool withLinks, Format format);
void scanNetwork(const Selection& selection, Format format);
void showInfo(const Selection& selection, Format format);
// Ports, the cameras behind them, and their addresses.
void showAddresses(const Selection& selection);
struct NewAddress {
    std::string camera; // a MAC address, an IP address or a user-defined name
    std::string ip;     // or "auto": the camera configures itself
    std::string mask;   // empty: the port's
    std::string gateway;
};
// Gives a camera an IP address by its MAC address, and scans again to see that it has it.
void setAddress(const Selection& selection, const NewAddress& address);
void listFeatures(const Selection& selection, bool all);
// Prints those that can be read, and names the others on standard error; their number is the result. Among
// bare values their lines are empty.
int getFeatures(
    const Selection& selection, const std::vector<std::string>& names, bool valuesOnly, Format format);
// Texts are NAME=VALUE; written in their order, up to the first that fails.
void setFeatures(const Selection& selection, const std::vector<std::string>& texts);
void executeCommand(const Selection& selection, const std::string& name);
// "-" stands for standard output.
void saveDescription(const Selection& selection, const std::string& file);

// Tells why there is silence, check by check, and what mends it. The number of problems; what it finds never
// throws.
int runDoctor(const Selection& selection);

// Shows the main job step by step; throws when a step does not come out as it should.
void runDemo(const Selection& selection);

} // namespace gbe
