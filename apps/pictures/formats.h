// What save() chooses from.
#pragma once

namespace pictures {

struct Picture;
class NewFile;

// Both throw what NewFile::fail() throws.
void writePng(NewFile& file, const Picture& picture);
void writeTiff(NewFile& file, const Picture& picture);

} // namespace pictures
