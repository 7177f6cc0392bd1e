// Makes a zip archive of one deflated entry, as cameras keep their description in.
#pragma once

#include "simcam/bytes.h"

#include <string_view>

namespace simcam {

// The archive, or nothing when zlib fails.
Bytes zipped(std::string_view entryName, ByteView content);

} // namespace simcam
