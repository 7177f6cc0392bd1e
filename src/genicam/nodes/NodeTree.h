// The nodes that came out of one description.
#pragma once

#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/NodeRegistry.h"
#include "liomol/GenICamCamera.h"

#include <atomic>

namespace tavo {

// Filled by one thread while it is built; after that any thread may look up.
class NodeTree : public NodeHost {
public:
    using NodeHost::NodeHost;

    // What the root element says of the camera.
    const DeviceHeader& header() const { return m_header; }
    void setHeader(DeviceHeader header) { m_header = std::move(header); }

    // The tree owns the node from now on, named or not.
    ImplGenICamNode& adoptNode(std::unique_ptr<ImplGenICamNode> node) {
        node->setHost(this);
        return m_nodes.own(std::move(node));
    }
    // Enters an adopted node under its name, in place of an earlier node of that name.
    void registerNode(ImplGenICamNode& node) { m_nodes.enter(node); }
    // Null when no node has that name.
    ImplGenICamNode* findNode(std::string_view name) const { return m_nodes.find(name); }
    const NodeRegistry& nodes() const { return m_nodes; }
    // At the end of building, once (ImplGenICamNode::orderEdges).
    void orderEdges() {
        for (const auto& node : m_nodes.all()) {
            node->orderEdges();
        }
    }

    // While the tree is built: whether it is wanted no more. The flag must outlive the building.
    void setCancelRequest(const std::atomic<bool>& request) { m_cancelRequest = &request; }
    bool isUnwanted() const { return m_cancelRequest != nullptr && m_cancelRequest->load(); }

private:
    DeviceHeader m_header;
    NodeRegistry m_nodes;
    const std::atomic<bool>* m_cancelRequest = nullptr;
};

} // namespace tavo
