#include "simcam/Pictures.h"

#include "simcam/limits.h"

namespace simcam {

Picture Pictures::show(const SceneWish& wish, std::uint64_t block) {
    if (m_wish != wish) {
        m_wish = wish;
        ++m_settings;
        m_scene.reset();
        m_rendered.clear();
        m_order.clear();
        m_bytes = 0;
    }
    if (m_folder && wish.pattern == TestPattern::Off) {
        return fromFolder(block);
    }
    if (!m_scene) {
        m_scene.emplace(wish);
    }
    return m_scene->picture(block);
}

Picture Pictures::fromFolder(std::uint64_t block) {
    const auto number = static_cast<std::size_t>((block - 1) % m_folder->size());
    SharedBytes& place = m_rendered[number];
    if (!place) {
        place = std::make_shared<const Bytes>(m_folder->render(number, *m_wish));
        m_order.push_back(number);
        m_bytes += place->size();
    }
    const SharedBytes picture = place;
    while (m_bytes > kMaxRendered && m_order.size() > 1) {
        m_bytes -= m_rendered[m_order.front()]->size();
        m_rendered.erase(m_order.front());
        m_order.pop_front();
    }
    return {picture, *picture};
}

} // namespace simcam
