// Where the camera keeps its description: as files in its memory and as the URLs that lead there.
#pragma once

#include "simcam/bytes.h"
#include "simcam/register_table.h"
#include "simcam/settings.h"

#include <optional>
#include <string>

namespace simcam {

// The description that the camera is built with, as text (description.xml).
ByteView builtInDescription();

struct Description {
    struct File {
        Address address = 0;
        Bytes content;          // padded behind its end, so that hosts may read in round blocks
        std::size_t length = 0; // without the padding
    };
    File zip;
    std::optional<File> text; // none when only an archive was given
    std::string firstUrl;
    std::string secondUrl;
};

// Reads and packs what the settings ask for. On failure none, and `error` says in one line what is wrong.
std::optional<Description> makeDescription(const CameraSettings& settings, std::string& error);

} // namespace simcam
