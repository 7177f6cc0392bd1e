#include "simcam/LinkFaults.h"

#include "simcam/text.h"

#include <algorithm>
#include <charconv>

namespace simcam {

namespace {

struct Probability {
    std::string_view name;
    double LineFaults::*field;
};
constexpr Probability kProbabilities[] = {
    {"drop", &LineFaults::drop},       {"duplicate", &LineFaults::duplicate},
    {"reorder", &LineFaults::reorder}, {"corrupt", &LineFaults::corrupt},
    {"delay", &LineFaults::delay},
};

struct Span {
    std::string_view name;
    milliseconds LineFaults::*field;
};
constexpr Span kSpans[] = {{"delay-min", &LineFaults::delayMin}, {"delay-max", &LineFaults::delayMax}};

bool parseProbability(std::string_view text, double& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end && value >= 0 && value <= 1;
}

bool setField(LineFaults& faults, std::string_view name, std::string_view value) {
    for (const Probability& row : kProbabilities) {
        if (row.name == name) {
            return parseProbability(value, faults.*row.field);
        }
    }
    for (const Span& row : kSpans) {
        if (row.name == name) {
            const auto ms = parseUnsigned(value, static_cast<std::uint64_t>(kMaxLatency.count()));
            faults.*row.field = milliseconds(ms.value_or(0));
            return ms.has_value();
        }
    }
    return false;
}

bool setWord(LinkFaults& faults, std::string_view word) {
    const std::size_t equals = std::min(word.find('='), word.size());
    std::string_view name = word.substr(0, equals);
    const std::string_view value = word.substr(std::min(equals + 1, word.size()));
    if (name == "seed") {
        const auto seed = parseUnsigned(value, UINT64_MAX);
        faults.seed = seed.value_or(0);
        return seed.has_value();
    }
    const bool in = name.starts_with("in-");
    const bool out = name.starts_with("out-");
    name.remove_prefix(in ? 3 : out ? 4 : 0);
    return (out || setField(faults.in, name, value)) && (in || setField(faults.out, name, value));
}

} // namespace

std::optional<LinkFaults> parseLinkFaults(std::string_view text, std::string& error) {
    LinkFaults faults;
    for (const std::string_view word : words(text)) {
        if (!setWord(faults, word)) {
            error = "link fault '" + std::string(word) + "' is not understood";
            return std::nullopt;
        }
    }
    for (const LineFaults& line : {faults.in, faults.out}) {
        if (line.delayMin > line.delayMax) {
            error = "delay-min is above delay-max";
            return std::nullopt;
        }
    }
    return faults;
}

void Line::setFaults(const LineFaults& faults, std::uint64_t seed) {
    m_faults = faults;
    m_random = Random(seed);
}

void Line::push(Bytes frame, Time when) {
    if (m_waiting.size() < kOutboxFrames) {
        m_waiting.insert({when, {std::move(frame), !m_faults.any(), false}});
    } else {
        ++m_lost;
    }
}

std::vector<Bytes> Line::take(Time now) {
    std::vector<Bytes> arrived;
    while (!m_waiting.empty() && m_waiting.begin()->first <= now) {
        auto next = m_waiting.extract(m_waiting.begin());
        Waiting& waiting = next.mapped();
        if (!waiting.decided) {
            decide(std::move(waiting.frame), next.key(), arrived);
            continue;
        }
        arrived.push_back(std::move(waiting.frame));
        if (!waiting.held) {
            releaseHeld(arrived);
        }
    }
    return arrived;
}

// Every number is drawn whether it is needed or not: changing one probability leaves the other decisions
// alone.
void Line::decide(Bytes frame, Time when, std::vector<Bytes>& arrived) {
    const bool drop = m_random.chance(m_faults.drop);
    const bool duplicate = m_random.chance(m_faults.duplicate);
    const bool reorder = m_random.chance(m_faults.reorder);
    const bool corrupt = m_random.chance(m_faults.corrupt);
    const bool delay = m_random.chance(m_faults.delay);
    const std::uint64_t bit = m_random.next();
    const auto range = static_cast<std::uint64_t>((m_faults.delayMax - m_faults.delayMin).count());
    const auto late = m_faults.delayMin + milliseconds(static_cast<std::int64_t>(m_random.upTo(range)));
    if (drop) {
        ++m_lost;
        return;
    }
    if (corrupt && !frame.empty()) {
        frame[bit / 8 % frame.size()] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
    const Time due = when + (delay ? late : milliseconds(0)) + (reorder ? kReorderHold : milliseconds(0));
    for (int copy = duplicate ? 2 : 1; copy > 0; --copy) {
        if (due > when && m_waiting.size() < kOutboxFrames) {
            m_waiting.insert({due, {frame, true, reorder}});
        } else {
            arrived.push_back(frame);
        }
    }
    if (due == when) {
        releaseHeld(arrived);
    }
}

void Line::releaseHeld(std::vector<Bytes>& arrived) {
    for (auto it = m_waiting.begin(); it != m_waiting.end();) {
        if (it->second.held) {
            arrived.push_back(std::move(it->second.frame));
            it = m_waiting.erase(it);
        } else {
            ++it;
        }
    }
}

std::optional<Time> Line::deadline() const {
    return m_waiting.empty() ? std::nullopt : std::optional(m_waiting.begin()->first);
}

} // namespace simcam
