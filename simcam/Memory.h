// The camera's address space as commands see it: registers with their access rights and models, read-only
// files (the descriptions), and, for descriptions that others wrote, plain memory. One thread at a time.
#pragma once

#include "simcam/RegisterModel.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace simcam {

class Memory {
public:
    using Status = gvcp::Status;

    explicit Memory(Registers& registers) : m_registers(registers) {}

    // The model is the caller's and outlives this.
    void addModel(RegisterModel& model) { m_models.push_back(&model); }
    // The content is the caller's and outlives this.
    void addFile(Address address, ByteView content) { m_files[address] = content; }
    // From now on the manufacturer's part of the address space is memory without a model: zeros until
    // written.
    void usePlainMemory() { m_plain = true; }

    // Appends `count` bytes to `out`, or nothing when one of them cannot be read.
    Status read(Address address, std::size_t count, Time now, Bytes& out);
    // How many bytes from `address` on one writePiece can take; at least 1 wherever something is.
    std::size_t extent(Address address) const;
    // Writes within one extent.
    Status writePiece(Address address, ByteView bytes, Time now);

    // For diagnosis: no access rights, and no limits but those of a register's row, which its model relies
    // on. A poke has the consequences of a write.
    std::optional<Bytes> peek(Address address, std::size_t count, Time now);
    bool poke(Address address, ByteView bytes, Time now);

    void refresh(Time now);

private:
    using Page = std::array<std::uint8_t, kPlainPage>;
    enum class Rights { Checked, All };

    std::optional<Place> place(Address address) const;
    const std::pair<const Address, ByteView>* file(Address address) const;
    std::size_t
    readPiece(Address address, std::size_t count, Rights rights, Status& status, Bytes& out) const;
    Status readAll(Address address, std::size_t count, Rights rights, Bytes& out) const;
    Status writeRegister(const Place& place, ByteView bytes, Rights rights, Time now);
    Status writePlain(Address address, ByteView bytes);
    Status check(const Candidate& candidate, Rights rights) const;

    Registers& m_registers;
    std::vector<RegisterModel*> m_models;
    std::map<Address, ByteView> m_files;
    bool m_plain = false;
    std::map<Address, std::unique_ptr<Page>> m_pages;
};

} // namespace simcam
