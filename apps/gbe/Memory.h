// A camera's registers and memory, by address or by name, as gbe read and gbe write have them.
#pragma once

#include "Context.h"
#include "protocol/bootstrap_registers.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace gbe {

using Bytes = std::vector<std::uint8_t>;

// Where something is.
struct Place {
    std::string name; // of a bootstrap register or a feature; empty for a mere address
    unsigned address = 0;
    std::size_t length = 4;
    const bootstrap::Register* bootstrap = nullptr; // null: none is known there
    bool isFeature = false;
};

// The place that a text names: a number, a bootstrap register, or a feature of the connected camera that is a
// register. Throws Failure.
Place placeOf(const std::string& text, CameraHandle* camera);
// Without a camera features are not known.
std::optional<Place> placeWithoutCamera(const std::string& text);

// Whether a camera could not be connected because its description is of no use: it has registers all the
// same.
bool isOfDescription(const Failure& failure);

// "4096" or "0x1000". Throws Failure.
std::size_t parseCount(const std::string& text);
// "0x00003a98" for the four bytes of a register, first the most significant one; else pairs of hexadecimal
// digits, in address order, with blanks between any of them. Throws Failure.
Bytes parseBytes(const std::string& text);

// These throw Failure.
Bytes readPlace(CameraHandle* camera, const Place& place);
// The same from a camera that was found and is not connected: its registers one by one.
Bytes readFound(CameraHandle* camera, const Place& place);
void writePlace(CameraHandle* camera, const Place& place, const Bytes& bytes);

// "00003a98".
std::string hexDigits(const Bytes& bytes);
// What the bytes of a register mean: "15000", "169.254.7.100", a text; empty where that is not known.
std::string meaningOf(const Place& place, const Bytes& bytes);
// Lines of 16 bytes with their address, in hexadecimal and in ASCII.
void printDump(unsigned address, const Bytes& bytes);

} // namespace gbe
