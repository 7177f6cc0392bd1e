// Small readers of text that people write: numbers, addresses, words.
#pragma once

#include "simcam/Station.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simcam {

// A whole text as a number from 0 to `max`, decimal or with 0x hexadecimal.
std::optional<std::uint64_t> parseUnsigned(std::string_view text, std::uint64_t max);
// Six pairs of hexadecimal digits with colons or hyphens between them, not a group's address.
std::optional<Mac> parseMac(std::string_view text);
// Four decimal numbers from 0 to 255 with dots between them.
std::optional<std::uint32_t> parseIp(std::string_view text);

std::string macText(Mac mac);
std::string ipText(std::uint32_t ip);

// What blanks separate.
std::vector<std::string_view> words(std::string_view text);
std::vector<std::string_view> split(std::string_view text, char separator);

} // namespace simcam
