// Reading many features ahead.
#include "genicam/nodes/Prefetch.h"
#include "api/features.h"
#include "liomol/features.h"

#include <algorithm>

int Gbe_prefetch(CameraHandle* camera, const char* const* names, unsigned count) {
    tavo::ImplGenICamCamera* device = nullptr;
    const bool isAll = names == nullptr;
    if (!isAll && std::find(names, names + count, nullptr) != names + count) {
        return api::nullArgument("name");
    }
    const int refused = api::deviceOf(camera, device, api::Call::Use);
    return refused != status::Success ? refused : api::guarded([&] {
        const auto tree = device->holdTree();
        tavo::Prefetch prefetch(*tree);
        for (unsigned i = 0; !isAll && i < count; ++i) {
            tavo::ImplGenICamNode* const node = tree->findNode(names[i]);
            if (node == nullptr) {
                return api::noSuchFeature(*tree, names[i], nullptr);
            }
            prefetch.add(*node);
        }
        if (isAll) {
            for (tavo::ImplGenICamNode* const node : tree->nodes().byName()) {
                prefetch.add(*node);
            }
        }
        prefetch.run();
        return status::Success;
    });
}
