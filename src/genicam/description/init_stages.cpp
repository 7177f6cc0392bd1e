// The passes over a tree of builders, and which node class stands for which kind.
#include "genicam/description/read_nodes.h"

#include "genicam/nodes/ImplGenICamBoolean.h"
#include "genicam/nodes/ImplGenICamCategory.h"
#include "genicam/nodes/ImplGenICamCommand.h"
#include "genicam/nodes/ImplGenICamEnumeration.h"
#include "genicam/nodes/ImplGenICamFloat.h"
#include "genicam/nodes/ImplGenICamInteger.h"
#include "genicam/nodes/ImplGenICamPort.h"
#include "genicam/nodes/ImplGenICamRegister.h"
#include "genicam/nodes/ImplGenICamString.h"
#include "genicam/nodes/formula_nodes.h"

#include <memory>
#include <stdexcept>

namespace tavo {
namespace {

namespace stages = genicam::stages;
using stages::Builder;
using stages::Tree;

struct KindStages {
    GenICamTypes::GenICamNodeType type;
    void (*create)(Builder& builder, Tree& tree);
    void (*resolve)(Builder& builder, Tree& tree);
};

template<class Kind> void createNode(Builder& builder, Tree& tree) {
    auto owned = std::make_unique<Kind>();
    Kind& node = *owned;
    tree.adoptNode(std::move(owned));
    node.setNodeType(builder.getNodeType());
    builder.setNode(&node);
    stages::readLiterals(builder, node);
}

template<class Kind> void resolveNode(Builder& builder, Tree& tree) {
    if (auto* const node = dynamic_cast<Kind*>(builder.getNode())) {
        stages::resolveReferences(builder, *node, tree);
    }
}

template<class Kind> constexpr KindStages kind(GenICamTypes::GenICamNodeType type) {
    return {type, createNode<Kind>, resolveNode<Kind>};
}

void nothingToResolve(Builder&, Tree&) {}

// By ascending kind, from the first that has stages on.
constexpr KindStages kKinds[] = {
    {GenICamTypes::RegisterDescription, stages::readHeader, nothingToResolve},
    kind<ImplGenICamBoolean>(GenICamTypes::Boolean),
    kind<ImplGenICamCategory>(GenICamTypes::Category),
    kind<ImplGenICamCommand>(GenICamTypes::Command),
    kind<ImplGenICamNode>(GenICamTypes::Node),
    kind<ImplGenICamRegister>(GenICamTypes::Register),
    kind<ImplGenICamConverter>(GenICamTypes::Converter),
    kind<ImplGenICamEnumEntry>(GenICamTypes::EnumEntry),
    kind<ImplGenICamEnumeration>(GenICamTypes::Enumeration),
    kind<ImplGenICamFloatReg>(GenICamTypes::FloatReg),
    kind<ImplGenICamFloat>(GenICamTypes::Float),
    kind<ImplGenICamIntConverter>(GenICamTypes::IntConverter),
    kind<ImplGenICamInteger>(GenICamTypes::Integer),
    kind<ImplGenICamIntReg>(GenICamTypes::IntReg),
    kind<ImplGenICamMaskedIntReg>(GenICamTypes::MaskedIntReg),
    kind<ImplGenICamPort>(GenICamTypes::Port),
    kind<ImplGenICamStringReg>(GenICamTypes::StringReg),
    {GenICamTypes::StructReg,
     [](Builder& builder, Tree& tree) { stages::readStructReg(builder, tree.quirks()); }, nothingToResolve},
    kind<ImplGenICamSwissKnife>(GenICamTypes::SwissKnife),
    kind<ImplGenICamIntSwissKnife>(GenICamTypes::IntSwissKnife),
    kind<ImplGenICamString>(GenICamTypes::String),
};

constexpr bool kindsAreContiguous() {
    int expected = kKinds[0].type;
    for (const KindStages& row : kKinds) {
        if (row.type != expected++) {
            return false;
        }
    }
    return true;
}
static_assert(kindsAreContiguous(), "a kind's row is found by its number");

const KindStages* findKind(GenICamTypes::GenICamNodeType type) {
    const auto row = static_cast<std::size_t>(type) - static_cast<std::size_t>(kKinds[0].type);
    return row < std::size(kKinds) ? &kKinds[row] : nullptr;
}

// The way from one builder to the next of its kind leads far across the memory of a large description;
// waiting there would take a fifth of all the time that loading takes. So the processor is told which one
// comes soon. A builder and its lists lie in one piece.
constexpr std::size_t kStagesAhead = 4;
void fetch(const GenICamTreeBuilder& builder) {
    constexpr std::size_t kPieceSize = 640;
    constexpr std::size_t kCacheLine = 64;
    const auto* const start = reinterpret_cast<const char*>(&builder);
    for (std::size_t offset = 0; offset < kPieceSize; offset += kCacheLine) {
        __builtin_prefetch(start + offset); // harmless wherever it leads
    }
}

} // namespace

void GenICamTreeBuilder::executeInitStage(InitStage stage, NodeTree* tree) {
    const KindStages* const row = findKind(m_type);
    if (row == nullptr) {
        return;
    }
    if (stage == CreateNodes) {
        row->create(*this, *tree);
    } else if (stage == ResolveReferences) {
        row->resolve(*this, *tree);
    }
}

void GenICamTreeBuilder::propagateInitStage(InitStage stage, NodeTree* tree) {
    if (stage == ReleaseTree) { // what is below goes with the root's store
        m_objects.clear();
        return;
    }
    if (tree->isUnwanted()) {
        throw std::runtime_error("the description is not wanted any more");
    }
    executeInitStage(stage, tree);
    if (stage == CreateNodes && m_node != nullptr && !m_node->getName().empty()) {
        tree->registerNode(*m_node);
    }
    const std::span<Object> children = m_objects.all();
    for (std::size_t i = 0; i < children.size(); ++i) {
        if (i + kStagesAhead < children.size()) {
            fetch(*children[i + kStagesAhead].builder);
        }
        children[i].builder->propagateInitStage(stage, tree);
    }
    if (stage == ResolveReferences && m_owned != nullptr) { // the root's: all edges are there
        tree->orderEdges();
    }
}

void GenICamTreeBuilder::addDependency(ImplGenICamNode* dependent, ImplGenICamNode* dependency) {
    if (dependent != nullptr && dependency != nullptr && dependent != dependency) {
        dependent->addDependency(*dependency);
    }
}

} // namespace tavo
