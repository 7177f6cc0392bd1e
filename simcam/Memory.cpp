#include "simcam/Memory.h"

#include <algorithm>
#include <cmath>

namespace simcam {

using Status = gvcp::Status;

namespace {

std::size_t leftOfPage(Address address) {
    return kPlainPage - address % kPlainPage;
}

} // namespace

void Memory::refresh(Time now) {
    for (RegisterModel* model : m_models) {
        model->refresh(now);
    }
}

std::optional<Place> Memory::place(Address address) const {
    if (m_plain && address >= bootstrap::kManufacturerSpecific) {
        return std::nullopt;
    }
    return Registers::find(address);
}

const std::pair<const Address, ByteView>* Memory::file(Address address) const {
    const auto after = m_files.upper_bound(address);
    if (after == m_files.begin()) {
        return nullptr;
    }
    const auto& candidate = *std::prev(after);
    return address - candidate.first < candidate.second.size() ? &candidate : nullptr;
}

std::size_t Memory::extent(Address address) const {
    if (const auto at = place(address)) {
        return fact(at->reg).size - at->offset;
    }
    if (const auto* content = file(address)) {
        return content->second.size() - (address - content->first);
    }
    return m_plain ? leftOfPage(address) : 0;
}

// Appends what of the range lies in one place, and returns how much that was; 0 with a status when nothing
// can be.
std::size_t
Memory::readPiece(Address address, std::size_t count, Rights rights, Status& status, Bytes& out) const {
    const std::size_t size = std::min(count, extent(address));
    ByteView source;
    if (const auto at = place(address)) {
        if (rights == Rights::Checked && fact(at->reg).access == Access::WO) {
            status = Status::AccessDenied;
            return 0;
        }
        source = m_registers.element(at->reg, at->index).subspan(at->offset, size);
    } else if (const auto* content = file(address)) {
        source = content->second.subspan(address - content->first, size);
    } else if (m_plain) {
        const auto page = m_pages.find(address - address % kPlainPage);
        if (page == m_pages.end()) {
            out.insert(out.end(), size, 0);
            return size;
        }
        source = ByteView(*page->second).subspan(address % kPlainPage, size);
    } else {
        status = Status::InvalidAddress;
        return 0;
    }
    out.insert(out.end(), source.begin(), source.end());
    return size;
}

Status Memory::readAll(Address address, std::size_t count, Rights rights, Bytes& out) const {
    const std::size_t before = out.size();
    Status status = Status::Success;
    while (count > 0) {
        const std::size_t size = readPiece(address, count, rights, status, out);
        count -= size;
        address += static_cast<Address>(size);
        const bool wrapped = count > 0 && address == 0;
        if (size == 0 || wrapped) {
            out.resize(before);
            return size == 0 ? status : Status::InvalidAddress;
        }
    }
    return Status::Success;
}

Status Memory::read(Address address, std::size_t count, Time now, Bytes& out) {
    refresh(now);
    return readAll(address, count, Rights::Checked, out);
}

Status Memory::writePiece(Address address, ByteView bytes, Time now) {
    refresh(now);
    if (const auto at = place(address)) {
        return writeRegister(*at, bytes, Rights::Checked, now);
    }
    if (file(address) != nullptr) {
        return Status::WriteProtect;
    }
    return m_plain ? writePlain(address, bytes) : Status::InvalidAddress;
}

Status Memory::writeRegister(const Place& place, ByteView bytes, Rights rights, Time now) {
    const RegisterFact& row = fact(place.reg);
    const ByteView before = m_registers.element(place.reg, place.index);
    Bytes element(before.begin(), before.end());
    std::copy(bytes.begin(), bytes.end(), element.begin() + place.offset);
    if (rights == Rights::Checked && row.access == Access::RO) {
        return Status::WriteProtect;
    }
    Candidate candidate{place.reg, place.index, 0, 0};
    if (row.kind != Kind::Text) {
        candidate.integer = Registers::signExtended(row, Registers::number(row, element));
        candidate.real =
            row.kind == Kind::Float ? Registers::real(row, element) : static_cast<double>(candidate.integer);
    }
    if (const Status status = check(candidate, rights); status != Status::Success) {
        return status;
    }
    m_registers.store(place.reg, place.index, element);
    for (RegisterModel* model : m_models) {
        model->written(place.reg, place.index, now);
    }
    return Status::Success;
}

Status Memory::check(const Candidate& candidate, Rights rights) const {
    const RegisterFact& row = fact(candidate.reg);
    const bool inRange = candidate.real >= static_cast<double>(row.low) &&
                         candidate.real <= static_cast<double>(row.high); // false for NaN
    if (row.limited() && !inRange) {
        return Status::InvalidParameter;
    }
    if (rights == Rights::All) {
        return Status::Success;
    }
    for (const RegisterModel* model : m_models) {
        if (const Status status = model->check(candidate); status != Status::Success) {
            return status;
        }
    }
    return Status::Success;
}

Status Memory::writePlain(Address address, ByteView bytes) {
    const Address base = address - address % kPlainPage;
    auto page = m_pages.find(base);
    if (page == m_pages.end()) {
        if (m_pages.size() >= kMaxPlainPages) {
            return Status::LocalProblem;
        }
        page = m_pages.emplace(base, std::make_unique<Page>()).first;
        page->second->fill(0);
    }
    std::copy(bytes.begin(), bytes.end(), page->second->begin() + address % kPlainPage);
    return Status::Success;
}

std::optional<Bytes> Memory::peek(Address address, std::size_t count, Time now) {
    refresh(now);
    Bytes bytes;
    if (readAll(address, count, Rights::All, bytes) != Status::Success) {
        return std::nullopt;
    }
    return bytes;
}

bool Memory::poke(Address address, ByteView bytes, Time now) {
    refresh(now);
    while (!bytes.empty()) {
        const std::size_t size = std::min(bytes.size(), extent(address));
        const auto at = place(address);
        Status status = Status::InvalidAddress;
        if (at) {
            status = writeRegister(*at, bytes.first(size), Rights::All, now);
        } else if (m_plain && size > 0 && file(address) == nullptr) {
            status = writePlain(address, bytes.first(size));
        }
        if (status != Status::Success) {
            return false;
        }
        bytes = bytes.subspan(size);
        address += static_cast<Address>(size);
    }
    return true;
}

} // namespace simcam
