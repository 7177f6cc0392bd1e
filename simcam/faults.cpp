#include "simcam/faults.h"

#include "simcam/text.h"

#include <algorithm>

namespace simcam {

namespace {

constexpr std::uint32_t kMaxCount = 1000000;

// The first word: a fault's name, with a value where one is given.
bool parseKind(std::string_view word, Fault& fault) {
    const std::size_t equals = word.find('=');
    const auto name = std::find_if(kFaultNames.begin(), kFaultNames.end(), [&](const FaultName& row) {
        return row.name == word.substr(0, equals);
    });
    if (name == kFaultNames.end()) {
        return false;
    }
    fault.kind = name->kind;
    fault.value = name->value;
    if (equals == std::string_view::npos) {
        return true;
    }
    const auto value = parseUnsigned(word.substr(equals + 1), 0xFFFFFFFF);
    fault.value = static_cast<std::uint32_t>(value.value_or(0));
    return value.has_value();
}

bool parseOption(std::string_view word, Fault& fault) {
    if (word == "forever") {
        fault.count = Fault::kForever;
        return true;
    }
    if (word.front() == 'x') {
        const auto count = parseUnsigned(word.substr(1), kMaxCount);
        fault.count = static_cast<int>(count.value_or(0));
        return count && *count > 0;
    }
    const auto command = std::find_if(
        kCommandNames.begin(), kCommandNames.end(), [&](const CommandName& row) { return row.name == word; });
    if (command == kCommandNames.end()) {
        return false;
    }
    fault.only = command->command;
    return true;
}

bool isTimed(Fault::Kind kind) {
    return kind == Fault::Kind::Delay || kind == Fault::Kind::Pending;
}

} // namespace

std::optional<Fault> parseFault(std::string_view text, std::string& error) {
    Fault fault;
    bool first = true;
    for (const std::string_view word : words(text)) {
        if (!(first ? parseKind(word, fault) : parseOption(word, fault))) {
            error = "fault '" + std::string(text) + "': '" + std::string(word) + "' is not understood";
            return std::nullopt;
        }
        first = false;
    }
    if (first) {
        error = "a fault without a name";
        return std::nullopt;
    }
    if (isTimed(fault.kind) && fault.value > kMaxLatency.count()) {
        error = "fault '" + std::string(text) + "': at most " + std::to_string(kMaxLatency.count()) + " ms";
        return std::nullopt;
    }
    return fault;
}

std::string faultText(const Fault& fault) {
    const auto name = std::ranges::find(kFaultNames, fault.kind, &FaultName::kind);
    std::string text = std::string(name->name) + "=" + std::to_string(fault.value);
    text += fault.count == Fault::kForever ? " forever" : " x" + std::to_string(fault.count);
    if (fault.only) {
        text += " " + std::string(std::ranges::find(kCommandNames, *fault.only, &CommandName::command)->name);
    }
    return text;
}

bool FaultPlan::add(const Fault& fault) {
    const std::scoped_lock lock(m_mutex);
    const bool room = m_faults.size() < kMostFaults;
    if (room) {
        m_faults.push_back(fault);
    }
    return room;
}

std::vector<Fault> FaultPlan::all() const {
    const std::scoped_lock lock(m_mutex);
    return m_faults;
}

void FaultPlan::clear() {
    const std::scoped_lock lock(m_mutex);
    m_faults.clear();
}

bool FaultPlan::empty() const {
    const std::scoped_lock lock(m_mutex);
    return m_faults.empty();
}

std::optional<Fault> FaultPlan::take(gvcp::Command command) {
    const std::scoped_lock lock(m_mutex);
    const auto found = std::find_if(m_faults.begin(), m_faults.end(), [&](const Fault& fault) {
        return !fault.only || *fault.only == command;
    });
    if (found == m_faults.end()) {
        return std::nullopt;
    }
    const Fault fault = *found;
    if (found->count > 0 && --found->count == 0) {
        m_faults.erase(found);
    }
    return fault;
}

} // namespace simcam
