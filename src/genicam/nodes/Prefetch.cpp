#include "genicam/nodes/Prefetch.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/ImplGenICamRegister.h"
#include "genicam/nodes/NodeHost.h"
#include "liomol/exceptions.h"
#include "util/error_detail.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace tavo {
namespace {

// ---- What is asked of a node -----------------------------------------------------------------------------

void askImplemented(ImplGenICamNode& node) {
    node.isImplemented();
}

void askAvailable(ImplGenICamNode& node) {
    node.isAvailable();
}

void askLocked(ImplGenICamNode& node) {
    node.isLocked();
}

void askAccessMode(ImplGenICamNode& node) {
    node.getAccessMode();
}

void askValue(ImplGenICamNode& node) {
    if (auto* const integer = node.asInteger()) {
        integer->getValue();
    } else if (auto* const real = node.asFloat()) {
        real->getValue();
    } else if (auto* const boolean = node.asBoolean()) {
        boolean->getValue();
    } else if (auto* const enumeration = node.asEnumeration()) {
        enumeration->getIntValue();
    } else {
        node.getValueAsString();
    }
}

// Of a node that cannot be read nobody wants the limits.
void checkReadability(ImplGenICamNode& node) {
    const DeviceLockScope lock(node.getHost());
    node.checkReadability();
}

void askMin(ImplGenICamNode& node) {
    checkReadability(node);
    node.asInteger() != nullptr ? void(node.asInteger()->getMin()) : void(node.asFloat()->getMin());
}

void askMax(ImplGenICamNode& node) {
    checkReadability(node);
    node.asInteger() != nullptr ? void(node.asInteger()->getMax()) : void(node.asFloat()->getMax());
}

void askInc(ImplGenICamNode& node) {
    checkReadability(node);
    node.asInteger()->getInc();
}

void askLength(ImplGenICamNode& node) {
    checkReadability(node);
    node.asString()->getMaxLength();
}

constexpr long long kWord = 4;

} // namespace

void Prefetch::ask(ImplGenICamNode& node, std::initializer_list<Ask> asks) {
    for (const Ask one : asks) {
        m_questions.push_back({&node, one, nullptr});
    }
}

void Prefetch::addValue(ImplGenICamNode& node) {
    ask(node, {askImplemented, askAvailable, askLocked});
    if (node.asRegister() != nullptr) {
        m_contents.push_back({&node, askValue, dynamic_cast<ImplGenICamRegister*>(&node)});
    } else {
        ask(node, {askAccessMode, askValue});
    }
}

void Prefetch::add(ImplGenICamNode& node) {
    addValue(node);
    if (node.asRegister() != nullptr) { // its limits need its length, and so does reading it
        return;
    }
    if (node.asInteger() != nullptr) {
        ask(node, {askMin, askMax, askInc});
    } else if (node.asFloat() != nullptr) {
        ask(node, {askMin, askMax});
    } else if (node.asString() != nullptr) {
        ask(node, {askLength});
    } else if (const auto* const enumeration = node.asEnumeration()) {
        for (GenICamEnumEntry* const entry : enumeration->getEntries()) {
            ask(*entry->asImplementation(), {askImplemented, askAvailable});
        }
    }
}

// ---- Rounds ----------------------------------------------------------------------------------------------

void Prefetch::run() {
    if (settle(m_contents)) {
        settle(m_questions);
    }
}

// Whether the port can still be asked.
bool Prefetch::settle(Questions& questions) {
    bool goesOn = true;
    while (goesOn && !questions.empty()) {
        const AccessRow row(m_host);
        askAll(questions);
        goesOn = m_wants.empty() || read();
        take();
    }
    return goesOn;
}

// Leaves the questions that wait for what is noted.
void Prefetch::askAll(Questions& questions) {
    struct Noting {
        AccessContext& access;
        ~Noting() { access.prefetch = nullptr; }
    };
    const Noting noting{m_host.access()};
    noting.access.prefetch = this;
    const util::KeepErrorDetail kept;
    ++m_round;
    std::erase_if(questions, [this](const Question& question) {
        return m_wants.size() < kMostReadsAtOnce && isAnswered(question);
    });
}

// What fails is to be told by the access that somebody wants.
bool Prefetch::isAnswered(const Question& question) {
    m_waits = false;
    m_asked = question.content;
    try {
        question.ask(*question.node);
    } catch (const Deferred&) {
    } catch (const GenICamException&) {
    } catch (const CoreException&) {
    }
    return !m_waits;
}

void Prefetch::defer(
    ImplGenICamRegister& needed, GenICamPortInterface* port, std::int64_t address, RegisterBytes content) {
    if (needed.keepsContent() && content.size() != 0 && content.size() <= kLongestReadAhead) {
        Reads& reads = m_reads[&needed];
        if (reads.round != m_round && reads.times < kMostReadsAhead) {
            m_wants.push_back({&needed, port, address, std::move(content), false});
            reads = {reads.times + 1, m_round};
        }
        m_waits = reads.round == m_round;
    }
    if (&needed != m_asked) {
        throw Deferred{};
    }
}

// ---- Reading ---------------------------------------------------------------------------------------------

// Words come first, so that a port can put them together, then whatever else; neighbours stand together.
bool Prefetch::read() {
    std::ranges::sort(m_wants, {}, [](const Want& want) {
        const bool isWord = want.content.size() == kWord;
        return std::tuple(want.port, !isWord, want.address, want.content.size());
    });
    bool goesOn = false;
    for (Want* first = m_wants.data(); first != m_wants.data() + m_wants.size();) {
        Want* const end = std::find_if(first, m_wants.data() + m_wants.size(), [first](const Want& want) {
            return want.port != first->port;
        });
        goesOn = readFrom(first->port, first, end) || goesOn;
        first = end;
    }
    return goesOn;
}

// What several registers show is read once.
bool Prefetch::readFrom(GenICamPortInterface* port, Want* first, Want* end) {
    auto* const batches = dynamic_cast<GenICamBatchReadInterface*>(port);
    if (batches == nullptr) {
        return false;
    }
    const auto isSame = [](const Want& a, const Want& b) {
        return a.address == b.address && a.content.size() == b.content.size();
    };
    std::vector<GenICamBatchReadInterface::Place> places;
    for (Want* want = first; want != end; ++want) {
        if (want == first || !isSame(want[-1], *want)) {
            const auto length = static_cast<long long>(want->content.size());
            places.push_back({want->content.data(), want->address, length, false});
        }
    }
    const bool goesOn = batches->readMany(places.data(), static_cast<unsigned>(places.size()));
    auto place = places.begin();
    for (Want* want = first; want != end; ++want) {
        if (want != first && isSame(want[-1], *want)) {
            want->content = want[-1].content;
        } else if (want != first) {
            ++place;
        }
        want->isRead = place->isRead;
    }
    return goesOn;
}

// In the order in which the camera was read, as if each had been read by itself: what one of them makes old
// was read before it.
void Prefetch::take() {
    for (Want& want : m_wants) {
        if (want.isRead) {
            want.needed->takeContent(std::move(want.content), want.address);
        } else {
            m_reads[want.needed].times = kMostReadsAhead;
        }
    }
    m_wants.clear();
}

} // namespace tavo
