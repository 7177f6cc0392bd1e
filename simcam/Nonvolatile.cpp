#include "simcam/Nonvolatile.h"

#include "simcam/UserSetModel.h"
#include "simcam/register_names.h"
#include "simcam/text.h"

#include <algorithm>

namespace simcam {

namespace {

constexpr Reg kKept[] = {Reg::InterfaceConfiguration, Reg::UserDefinedName,   Reg::PersistentIp,
                         Reg::PersistentSubnetMask,   Reg::PersistentGateway, Reg::UserSetDefault,
                         Reg::UserSetDescription};
constexpr std::string_view kSetPrefix = "UserSet";

bool isKept(Reg reg) {
    return std::ranges::find(kKept, reg) != std::end(kKept);
}

struct Entry {
    std::optional<std::uint32_t> userSet; // none: the register itself
    Reg reg;
};

std::string nameOf(Reg reg) {
    return std::string(fact(reg).name);
}

std::string nameOf(std::uint32_t set, Reg reg) {
    return std::string(kSetPrefix) + std::to_string(set) + "/" + nameOf(reg);
}

std::optional<Entry> entryOf(std::string_view name) {
    const std::size_t slash = name.find('/');
    if (slash == std::string_view::npos) {
        const auto reg = findRegister(name);
        return reg && isKept(*reg) ? std::optional(Entry{std::nullopt, *reg}) : std::nullopt;
    }
    const std::string_view set = name.substr(0, slash);
    const auto reg = findRegister(name.substr(slash + 1));
    const auto number = set.starts_with(kSetPrefix)
                            ? parseUnsigned(set.substr(kSetPrefix.size()), UserSetModel::kSets - 1)
                            : std::nullopt;
    const bool saved = number && *number != 0 && reg && fact(*reg).role == Role::Setting;
    return saved ? std::optional(Entry{static_cast<std::uint32_t>(*number), *reg}) : std::nullopt;
}

// As many bytes as the register has, and numbers within its limits.
bool fits(Reg reg, ByteView bytes) {
    const RegisterFact& row = fact(reg);
    if (bytes.size() != row.bytes()) {
        return false;
    }
    for (std::uint32_t index = 0; row.limited() && row.kind != Kind::Text && index < row.count; ++index) {
        const ByteView element = bytes.subspan(std::size_t{index} * row.size, row.size);
        const std::int64_t integer = Registers::signExtended(row, Registers::number(row, element));
        const double value =
            row.kind == Kind::Float ? Registers::real(row, element) : static_cast<double>(integer);
        if (!(value >= static_cast<double>(row.low) && value <= static_cast<double>(row.high))) {
            return false;
        }
    }
    return true;
}

std::optional<Bytes> parseBytes(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const std::size_t high = kDigits.find(text[i]);
        const std::size_t low = kDigits.find(text[i + 1]);
        if (high == kDigits.npos || low == kDigits.npos) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
    return text.size() % 2 == 0 ? std::optional(bytes) : std::nullopt;
}

bool parseLine(std::string_view line, Nonvolatile::Contents& contents) {
    const auto parts = words(line);
    if (parts.empty() || line.starts_with('#')) {
        return true;
    }
    const auto entry = entryOf(parts[0]);
    const auto bytes = parts.size() == 3 && parts[1] == "=" ? parseBytes(parts[2]) : std::nullopt;
    if (!entry || !bytes || !fits(entry->reg, *bytes)) {
        return false;
    }
    contents[std::string(parts[0])] = *bytes;
    return true;
}

} // namespace

Nonvolatile::Contents Nonvolatile::save() const {
    Contents contents;
    for (const Reg reg : kKept) {
        const ByteView bytes = m_registers.all(reg);
        contents[nameOf(reg)].assign(bytes.begin(), bytes.end());
    }
    for (std::uint32_t set = 1; m_userSets != nullptr && set < UserSetModel::kSets; ++set) {
        const UserSetModel::Snapshot& snapshot = m_userSets->snapshot(set);
        for (std::size_t i = 0; i < snapshot.size(); ++i) {
            if (!snapshot[i].empty()) {
                contents[nameOf(set, static_cast<Reg>(i))] = snapshot[i];
            }
        }
    }
    return contents;
}

void Nonvolatile::restore(const Contents& contents) {
    for (const auto& [name, bytes] : contents) {
        const auto entry = entryOf(name);
        if (!entry || !fits(entry->reg, bytes)) {
            continue;
        }
        if (!entry->userSet) {
            m_registers.storeAll(entry->reg, bytes);
        } else if (m_userSets != nullptr) {
            m_userSets->restore(*entry->userSet, entry->reg, bytes);
        }
    }
}

void Nonvolatile::written(Reg reg, std::uint32_t, Time) {
    m_changed = m_changed || isKept(reg) || reg == Reg::UserSetSave;
}

std::string nonvolatileText(const Nonvolatile::Contents& contents) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "# Written by the camera: what it keeps without power.\n";
    for (const auto& [name, bytes] : contents) {
        text += name + " = ";
        for (const std::uint8_t byte : bytes) {
            text += kDigits[byte >> 4];
            text += kDigits[byte & 0x0F];
        }
        text += '\n';
    }
    return text;
}

std::optional<Nonvolatile::Contents> parseNonvolatile(std::string_view text, std::string& error) {
    Nonvolatile::Contents contents;
    std::size_t number = 0;
    for (const std::string_view line : split(text, '\n')) {
        ++number;
        if (!parseLine(line, contents)) {
            error = "line " + std::to_string(number) + " is not what a camera keeps";
            return std::nullopt;
        }
    }
    return contents;
}

} // namespace simcam
