// How a device gets its tree: by a thread of its own, from a file or from a text in memory.
#include "genicam/description/GenICamParser.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/description/limits.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "util/error_detail.h"
#include "util/late_release.h"

#include <QtCore/QLoggingCategory>

#include <fstream>
#include <stdexcept>
#include <utility>

namespace tavo {
namespace {

// Why a description has become no tree.
Q_LOGGING_CATEGORY(genicamLog, "liomol.genicam", QtInfoMsg)

std::string readFile(const std::string& fileName) {
    std::ifstream file(fileName, std::ios::binary | std::ios::ate);
    const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (size < 0 || size > static_cast<std::streamoff>(genicam::kMaxDescriptionSize)) {
        throw std::runtime_error("the file " + fileName + " cannot be read");
    }
    std::string text(static_cast<std::size_t>(size), '\0');
    file.seekg(0);
    if (!file.read(text.data(), size)) {
        throw std::runtime_error("the file " + fileName + " cannot be read");
    }
    return text;
}

} // namespace

void ImplGenICamCamera::retrieveRegisterDescription(const std::string& fileName) {
    startRetrieving({fileName, nullptr});
}

void ImplGenICamCamera::retrieveRegisterDescriptionFromMemory(char* text) {
    startRetrieving({{}, std::unique_ptr<char[]>(text)});
}

bool ImplGenICamCamera::Presence::mustReturn() const {
    const std::thread::id self = std::this_thread::get_id();
    return controller.load() == self || retriever.load() == self;
}

void ImplGenICamCamera::joinRetrieving() {
    if (m_retrieving) {
        m_retrieving->requestCancel();
        m_retrieving->join();
    }
}

// Replacing the tree, seen from the thread that does it:
//
//   application, or a listener of a node      retrieving thread
//   ------------------------------------      -----------------
//   wait for listeners and threads
//   old tree closed, state Retrieving ------> build
//     listeners: latest wish counts           new tree in place, state Connected or NotConnected
//                                               listeners: a wish of theirs is carried out here, from
//                                               closing the tree on
//
// In both places a listener may destroy the device; `presence` tells.
void ImplGenICamCamera::startRetrieving(Request request) {
    const auto presence = m_presence;
    if (presence->mustReturn()) {
        m_next = std::move(request);
        return;
    }
    m_signalling.forbid(); // not under the lock below: a listener that is waited for may want that, too
    m_signalling.waitUntilIdle();
    const std::lock_guard control(presence->control);
    if (presence->isGone) {
        return;
    }
    joinRetrieving();
    presence->controller = std::this_thread::get_id();
    const bool isThere = beginRetrieving(request);
    presence->controller = std::thread::id();
    if (isThere) {
        const auto shared = std::make_shared<Request>(std::move(request)); // a std::function is copied
        m_retrieving = std::make_unique<HelperThread>([this, presence, shared] {
            presence->retriever = std::this_thread::get_id();
            retrieve(std::move(*shared));
            presence->retriever = std::thread::id();
        });
        m_retrieving->start();
    }
}

// False when a listener has destroyed the device.
bool ImplGenICamCamera::beginRetrieving(Request& request) {
    const auto presence = m_presence;
    m_polling.forbid();
    m_signalling.forbid();
    m_polling.waitUntilIdle();
    forgetTree();
    m_next.reset();
    setState(Retrieving);
    if (presence->isGone) {
        return false;
    }
    if (m_next) {
        request = *std::exchange(m_next, std::nullopt);
    }
    return true;
}

void ImplGenICamCamera::retrieve(Request request) {
    const auto presence = m_presence;
    do {
        asyncRetrievingMethod(request.fileName, std::move(request.text));
        if (presence->isGone || !m_next) {
            return;
        }
        request = *std::exchange(m_next, std::nullopt);
    } while (beginRetrieving(request));
}

std::shared_ptr<NodeTree> ImplGenICamCamera::holdTree() const {
    const std::lock_guard lock(m_registryLock);
    return m_tree;
}

// Null when the device goes.
void ImplGenICamCamera::useTree(std::shared_ptr<NodeTree> tree) {
    const auto old = holdTree();
    {
        const DeviceLockScope scope(old.get()); // an access of the earlier tree ends first
        const std::lock_guard lock(m_registryLock);
        m_current.store(tree.get(), std::memory_order_release);
        m_tree = std::move(tree);
        if (old) {
            old->close();
        }
    }
    if (old && old->hasListeners()) {
        util::releaseAfterQueuedSignals(old);
    }
}

std::shared_ptr<NodeTree> ImplGenICamCamera::newTree() const {
    const std::lock_guard lock(m_registryLock);
    return std::make_shared<NodeTree>(m_commons, m_quirks);
}

// Look-ups may come while a description is retrieved, and find nothing then. So the empty tree that they look
// at stays when the new one takes its place, until the next retrieval begins, beside which there are none.
void ImplGenICamCamera::forgetTree() {
    auto empty = newTree();
    if (holdTree() != m_empty || m_empty->quirks() != empty->quirks()) {
        useTree(empty);
        m_empty = std::move(empty);
    }
    const std::lock_guard lock(m_registryLock);
    m_description.clear();
}

void ImplGenICamCamera::asyncRetrievingMethod(const std::string& fileName, std::unique_ptr<char[]> text) {
    CameraState outcome = NotConnected;
    std::string refusal;
    try {
        refusal = buildTree(fileName, std::move(text));
        outcome = refusal.empty() ? Connected : NotConnected;
    } catch (const std::exception& failure) { // the state tells that something went wrong
        refusal = failure.what();
    } catch (...) {
        refusal = "nobody knows why";
    }
    if (outcome == NotConnected) {
        qCDebug(genicamLog) << "a description was refused:" << refusal.c_str();
    }
    {
        const std::lock_guard lock(m_registryLock);
        m_refusal = std::move(refusal);
    }
    if (outcome == NotConnected) {
        forgetTree();
    } else {
        m_polling.allow();
        m_signalling.allow();
    }
    setState(outcome);
}

// The result is why there is no tree; empty where there is one. The builders go as soon as the nodes stand:
// nothing reads them any more.
std::string ImplGenICamCamera::buildTree(const std::string& fileName, std::unique_ptr<char[]> text) {
    std::string description = text ? std::string(text.get()) : readFile(fileName);
    if (description.size() > genicam::kMaxDescriptionSize) {
        return "it has more than " + std::to_string(genicam::kMaxDescriptionSize >> 20) + " MiB";
    }
    {
        const std::lock_guard lock(m_registryLock);
        m_description = std::move(description);
    }
    auto tree = newTree();
    tree->setCancelRequest(m_retrieving->cancelRequest());
    GenICamParser parser(tree->quirks(), &m_retrieving->cancelRequest());
    util::setErrorDetail("it is not wanted any more");
    const auto root = text ? parser.parseMemory(std::move(text)) : parser.parseFile(fileName);
    if (!root) {
        return util::errorDetail();
    }
    root->propagateInitStage(GenICamTreeBuilder::CreateNodes, tree.get());
    root->propagateInitStage(GenICamTreeBuilder::ResolveReferences, tree.get());
    root->propagateInitStage(GenICamTreeBuilder::ReleaseTree, tree.get());
    useTree(std::move(tree));
    return {};
}

} // namespace tavo
