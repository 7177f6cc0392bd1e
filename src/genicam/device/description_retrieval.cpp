// How a device gets its tree: by a thread of its own, from a file or from a text in memory.
#include "genicam/description/GenICamParser.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "genicam/nodes/GenICamScopedReadWriteLock.h"

#include <fstream>
#include <stdexcept>

namespace tavo {
namespace {

std::string readFile(const std::string& fileName) {
    std::ifstream file(fileName, std::ios::binary | std::ios::ate);
    const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (size < 0 || size > static_cast<std::streamoff>(kMaxDescriptionSize)) {
        throw std::runtime_error("description cannot be read: " + fileName);
    }
    std::string text(static_cast<std::size_t>(size), '\0');
    file.seekg(0);
    if (!file.read(text.data(), size)) {
        throw std::runtime_error("description cannot be read: " + fileName);
    }
    return text;
}

} // namespace

void ImplGenICamCamera::retrieveRegisterDescription(const std::string& fileName) {
    startRetrieving(fileName, nullptr);
}

void ImplGenICamCamera::retrieveRegisterDescriptionFromMemory(char* text) {
    startRetrieving({}, std::unique_ptr<char[]>(text));
}

// The text moves through a shared pointer because a std::function must be copyable.
void ImplGenICamCamera::startRetrieving(const std::string& fileName, std::unique_ptr<char[]> text) {
    stopAsyncMethods();
    const auto shared = std::make_shared<std::unique_ptr<char[]>>(std::move(text));
    m_retrieving = std::make_unique<HelperThread>(
        [this, fileName, shared] { asyncRetrievingMethod(fileName, std::move(*shared)); });
    forgetTree();
    setState(Retrieving);
    m_retrieving->start();
}

void ImplGenICamCamera::useTree(std::unique_ptr<NodeTree> tree) {
    const DeviceLockScope scope(m_tree.get()); // an access of the earlier tree ends first
    m_commons->changes.clear();
    m_current.store(tree.get(), std::memory_order_release);
    m_tree.swap(tree);
}

void ImplGenICamCamera::forgetTree() {
    useTree(std::make_unique<NodeTree>(m_commons, m_quirks));
    const std::lock_guard lock(m_registryLock);
    m_description.clear();
}

void ImplGenICamCamera::asyncRetrievingMethod(const std::string& fileName, std::unique_ptr<char[]> text) {
    CameraState outcome = NotConnected;
    try {
        if (buildTree(fileName, std::move(text))) {
            outcome = Connected;
        }
    } catch (...) { // whatever went wrong, the state tells it
    }
    if (outcome == NotConnected) {
        forgetTree();
    } else {
        m_polling.allow();
        m_signalling.allow();
    }
    setState(outcome);
}

// The builders go as soon as the nodes stand: nothing reads them any more.
bool ImplGenICamCamera::buildTree(const std::string& fileName, std::unique_ptr<char[]> text) {
    std::string description = text ? std::string(text.get()) : readFile(fileName);
    if (description.size() > kMaxDescriptionSize) {
        return false;
    }
    {
        const std::lock_guard lock(m_registryLock);
        m_description = std::move(description);
    }
    GenICamParser parser(m_quirks);
    const auto root = text ? parser.parseMemory(std::move(text)) : parser.parseFile(fileName);
    if (!root) {
        return false;
    }
    auto tree = std::make_unique<NodeTree>(m_commons, m_quirks);
    root->propagateInitStage(GenICamTreeBuilder::CreateNodes, tree.get());
    root->propagateInitStage(GenICamTreeBuilder::ResolveReferences, tree.get());
    root->propagateInitStage(GenICamTreeBuilder::ReleaseTree, tree.get());
    useTree(std::move(tree));
    return true;
}

} // namespace tavo
