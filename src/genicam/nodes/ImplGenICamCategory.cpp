#include "genicam/nodes/ImplGenICamCategory.h"

namespace tavo {

void ImplGenICamCategory::addFeature(GenICamNode* node) {
    if (node != nullptr) {
        m_features.push_back(node);
    }
}

} // namespace tavo
