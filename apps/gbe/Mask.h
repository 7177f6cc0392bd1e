// Takes out of texts and frames what tells whose they are, and puts the same in its place everywhere: MAC and
// IP addresses, serial numbers, names of users, computers and cameras.
#pragma once

#include "addresses.h"
#include "protocol/bootstrap.h"

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace gbe {

// One thread at a time.
class Mask {
public:
    // One that hides nothing leaves everything as it is.
    explicit Mask(bool hides);

    bool hides() const { return m_hides; }

    // Keeps the vendor's bytes of an address that is not the computer's own choice.
    Mac mac(const Mac& mac);
    // Addresses that share the beginning still do, so that subnets can be told. What is no station's own
    // stays, and so do the bits that make an address a private or a link-local one.
    Ipv4 ip(const Ipv4& ip);
    // "serial-1" for the first text of this kind; the same for the same text. Empty texts stay.
    std::string word(const std::string& kind, const std::string& text);

    // Addresses wherever they are, and words of three letters and more that word() has seen.
    std::string text(const std::string& text);
    // The value of a feature, which may tell whose a camera is by what the feature is.
    std::string value(const std::string& feature, const std::string& text);

    // An Ethernet frame of a control channel: addresses in its headers and where GVCP has them, names in
    // discovery answers, all data of memory accesses, and all that is not understood. Checksums are made
    // anew.
    void frame(std::vector<std::uint8_t>& frame);

private:
    using Bytes = std::span<std::uint8_t>;

    void macAt(Bytes bytes);
    void ipAt(Bytes bytes);
    void fieldAt(Bytes bytes, const std::string& kind);
    void gvcp(Bytes payload);
    void command(unsigned code, unsigned id, Bytes payload);
    void acknowledgement(unsigned code, unsigned id, Bytes payload);
    void discovery(Bytes payload);
    void registerValue(bootstrap::Address address, Bytes value);

    const bool m_hides;
    const std::uint64_t m_key; // makes the addresses of each report others
    std::map<Mac, Mac> m_macs;
    std::map<Ipv4, Ipv4> m_ips;
    std::map<std::string, std::string> m_words;  // by kind and text
    std::map<std::string, std::string> m_inText; // by text
    std::map<std::string, unsigned> m_counts;
    std::map<unsigned, std::vector<bootstrap::Address>>
        m_asked; // by request id: registers that were asked for
};

} // namespace gbe
