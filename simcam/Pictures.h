// What the camera's blocks show: a test pattern, or pictures of a folder instead of what the sensor would
// see. Everything is rendered once and kept while the settings stay the same. One thread at a time.
#pragma once

#include "simcam/PictureFolder.h"

#include <deque>
#include <map>
#include <optional>

namespace simcam {

class Pictures {
public:
    // `folder` may be null.
    explicit Pictures(std::shared_ptr<const PictureFolder> folder) : m_folder(std::move(folder)) {}

    // What the block with this id shows.
    Picture show(const SceneWish& wish, std::uint64_t block);
    // Another number for other wishes.
    std::uint64_t settings() const { return m_settings; }

private:
    Picture fromFolder(std::uint64_t block);

    const std::shared_ptr<const PictureFolder> m_folder;
    std::optional<SceneWish> m_wish; // the last one
    std::uint64_t m_settings = 0;
    std::optional<Scene> m_scene;                  // of that wish, once it was shown
    std::map<std::size_t, SharedBytes> m_rendered; // pictures of the folder, likewise
    std::deque<std::size_t> m_order;               // in which they were rendered
    std::size_t m_bytes = 0;                       // that they take
};

} // namespace simcam
