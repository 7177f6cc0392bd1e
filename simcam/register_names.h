// Registers as a person names and writes them: "Width", "Gain#1" for an element, or an address.
#pragma once

#include "simcam/Registers.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simcam {

std::optional<Reg> findRegister(std::string_view name);

// The element of a register under its name.
std::optional<Place> parseElement(std::string_view text);
// The address of an element under its name, or a number.
std::optional<Address> parseRegister(std::string_view text);

// Bytes of camera memory at an address.
struct Content {
    Address address = 0;
    Bytes bytes;
};
// "Width=640;Gain#1=3.5;0xA114=800": elements by their names with values of their kinds, words of 4 bytes by
// their addresses. None with a one-line `error` when the text is not of that form.
std::optional<std::vector<Content>> parseContents(std::string_view text, std::string& error);

// An element's bytes for what a person wrote, a number or a text after the register's kind; none when it is
// no such thing.
std::optional<Bytes> bytesOf(const RegisterFact& row, std::string_view value);
// And back.
std::string textOf(const RegisterFact& row, ByteView bytes);

} // namespace simcam
