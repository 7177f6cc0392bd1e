// A list of features for people to browse.
#pragma once

#include "genicam/nodes/node_interfaces.h"

namespace tavo {

class ImplGenICamCategory : public ImplGenICamCategoryInterface, public virtual GenICamCategory {
public:
    const std::vector<GenICamNode*>& getFeatures() const override { return m_features; }
    // Null is ignored.
    void addFeature(GenICamNode* node);

private:
    std::vector<GenICamNode*> m_features;
};

} // namespace tavo
