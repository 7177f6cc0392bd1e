#include "simcam/Addressing.h"

#include "protocol/bootstrap.h"
#include "simcam/text.h"

namespace simcam {

namespace {

IpConfiguration persistent(const Registers& registers) {
    const auto part = [&](Reg reg) { return static_cast<std::uint32_t>(registers.get(reg)); };
    const bool on = (part(Reg::InterfaceConfiguration) & bootstrap::kPersistentIpBit) != 0;
    const IpConfiguration ip{
        part(Reg::PersistentIp), part(Reg::PersistentSubnetMask), part(Reg::PersistentGateway)};
    return on && isHostAddress(ip.address) ? ip : IpConfiguration{};
}

} // namespace

void Addressing::start(Registers& registers, Time now) {
    m_registers = &registers;
    m_linkLocal.stop();
    const IpConfiguration kept = persistent(registers);
    if (kept.address != 0) {
        use(kept, ArpReplies::ToAsker, "persistent");
    } else if (m_origin.ip.address != 0) {
        use(m_origin.ip, ArpReplies::ToAsker, "as set");
    } else {
        m_station.setIp({});
        show({});
        m_linkLocal.start(now);
    }
}

void Addressing::force(const IpConfiguration& ip) {
    m_linkLocal.stop();
    use(ip, ArpReplies::ToAsker, "forced");
}

void Addressing::stop() {
    m_linkLocal.stop();
    m_station.setIp({});
    show({});
    m_registers = nullptr;
}

void Addressing::use(const IpConfiguration& ip, ArpReplies replies, const char* how) {
    m_station.setIp(ip, replies);
    show(ip);
    tell(
        m_notices, Notice::NewAddress,
        "address " + ipText(ip.address) + " mask " + ipText(ip.mask) + " (" + how + ")");
}

void Addressing::show(const IpConfiguration& ip) {
    if (m_registers != nullptr) {
        m_registers->set(Reg::CurrentIp, ip.address);
        m_registers->set(Reg::CurrentSubnetMask, ip.mask);
        m_registers->set(Reg::CurrentGateway, ip.gateway);
    }
}

std::vector<Bytes> Addressing::perform(LinkLocal::Act act) {
    switch (act) {
    case LinkLocal::Act::Probe:
        return {m_station.arpProbe(m_linkLocal.address())};
    case LinkLocal::Act::Announce:
        if (m_station.ip().address != m_linkLocal.address()) {
            use({m_linkLocal.address(), kLinkLocalMask, 0}, ArpReplies::ToAll, "link-local");
        }
        return {m_station.arpAnnouncement()};
    case LinkLocal::Act::GiveUp:
        m_station.setIp({});
        show({});
        break;
    case LinkLocal::Act::Nothing:
        break;
    }
    return {};
}

std::vector<Bytes> Addressing::advance(Time now) {
    std::vector<Bytes> frames;
    for (auto act = m_linkLocal.advance(now); act != LinkLocal::Act::Nothing;
         act = m_linkLocal.advance(now)) {
        for (Bytes& frame : perform(act)) {
            frames.push_back(std::move(frame));
        }
    }
    return frames;
}

std::vector<Bytes> Addressing::heard(const ArpMessage& arp, Time now, bool& lost) {
    const std::uint32_t before = m_linkLocal.address();
    const auto act = m_linkLocal.heard(arp, now);
    const bool conflict = act != LinkLocal::Act::Nothing || m_linkLocal.address() != before;
    if (conflict) {
        const bool keeps = act == LinkLocal::Act::Announce;
        tell(
            m_notices, Notice::Conflict,
            "address " + ipText(before) + " is also " + macText(arp.sender.mac) +
                "'s: " + (keeps ? "defended" : "another is looked for"));
    }
    lost = act == LinkLocal::Act::GiveUp;
    return perform(act);
}

} // namespace simcam
