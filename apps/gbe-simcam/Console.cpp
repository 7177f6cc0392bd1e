#include "Console.h"

#include "bounds.h"

#include "protocol/bootstrap_registers.h"
#include "simcam/register_names.h"
#include "simcam/text.h"

#include <algorithm>
#include <cstdio>

namespace gbe_simcam {

using namespace simcam;

namespace {

Reply done() {
    return {};
}

Reply failure(std::string text) {
    return {false, {std::move(text)}};
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(" \t\r"), text.size());
    text.remove_prefix(first);
    return text.substr(0, text.find_last_not_of(" \t\r") + 1);
}

// The first word, which a blank or '=' ends; what follows stays in `text`.
std::string_view takeWord(std::string_view& text, std::string_view ends = " =") {
    text = trimmed(text);
    const std::string_view word = text.substr(0, text.find_first_of(ends));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    text = trimmed(text);
    return word;
}

std::optional<milliseconds> parseTime(std::string_view text) {
    const auto ms = parseUnsigned(text, static_cast<std::uint64_t>(kMaxSilence.count()));
    return ms ? std::optional(milliseconds(*ms)) : std::nullopt;
}

std::string number(std::uint64_t value) {
    return std::to_string(value);
}

std::string addressText(const IpConfiguration& ip) {
    return ip.address == 0 ? "no address yet" : ipText(ip.address) + " mask " + ipText(ip.mask);
}

std::string controllerText(const Report& report) {
    if (!report.controller) {
        return "controlled by nobody";
    }
    return "controlled by " + ipText(report.controller->ip) + ":" + number(report.controller->port) +
           (report.privilege == bootstrap::kPrivilegeExclusive ? " exclusively" : "");
}

std::string hexadecimal(std::uint32_t value) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(value));
    return text;
}

// By the camera's own name for it, or by the standard's as gbe read shows it.
std::optional<Place> placeNamed(std::string_view name) {
    const auto own = parseElement(name);
    const auto row = std::ranges::find(bootstrap::kRegisters, name, &bootstrap::Register::name);
    return own || row == bootstrap::kRegisters.end() ? own : Registers::find(row->address);
}

// A register of the camera by its name: behind a description of others only those of the standard are there.
std::optional<Place> elementOf(const Camera& camera, std::string_view name) {
    const auto place = placeNamed(name);
    const bool own = place && fact(place->reg).address >= bootstrap::kManufacturerSpecific;
    return own && camera.isPlain() ? std::nullopt : place;
}

Address addressOf(const Place& place) {
    return fact(place.reg).address + place.index * fact(place.reg).size;
}

Reply noRegister(std::string_view name) {
    return failure("'" + std::string(name) + "' is not a register: a name or an address is wanted");
}

} // namespace

struct Console::Command {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    Reply (*run)(Camera&, std::string_view);
};

const std::vector<Console::Command>& Console::commands() {
    static const std::vector<Command> all{
        {"fault", "[FAULT|clear]", "add a fault ('delay=500 x3 readreg'), forget all, or show them", &fault},
        {"link", "FAULTS|clear", "faults of the wire: 'drop=0.05 out-delay=0.1 seed=7'", &link},
        {"slow-write", "TIMES|clear", "milliseconds that writes take: '2000 UserSetSave;50'", &slowWrite},
        {"reboot", "[MS]", "start again after a silence of MS milliseconds", &reboot},
        {"silent", "[MS|off]", "neither hear nor speak for MS milliseconds, or until 'off'", &silent},
        {"get", "REGISTER [COUNT]", "show registers, by name or by address", &get},
        {"set", "REGISTER VALUE", "change a register, whoever has control", &set},
        {"statistics", "", "what the camera was asked and did", &statistics},
    };
    return all;
}

Reply Console::run(std::string_view line) {
    if (line.size() > kMaxCommand) {
        return failure("a command of more than " + number(kMaxCommand) + " bytes");
    }
    std::string_view rest = line;
    const std::string_view first = takeWord(rest);
    if (first.empty()) {
        return done();
    }
    if (first == "list") {
        return list();
    }
    if (first == "help") {
        return help();
    }
    if (first == "quit") {
        m_quit();
        return done();
    }
    const std::string_view name = takeWord(rest);
    return forCameras(first, name, rest);
}

Reply Console::forCameras(std::string_view which, std::string_view name, std::string_view rest) {
    const bool all = which == "all";
    const auto chosen = parseUnsigned(which, m_segment.size());
    if (!all && (!chosen || *chosen == 0)) {
        return failure(
            "'" + std::string(which) + "' is neither list, help, quit, all nor a camera from 1 to " +
            number(m_segment.size()));
    }
    const auto command = std::ranges::find(commands(), name, &Command::name);
    if (command == commands().end()) {
        return failure("'" + std::string(name) + "' is not a command: see help");
    }
    Reply reply;
    for (std::size_t i = all ? 0 : static_cast<std::size_t>(*chosen) - 1;
         i < (all ? m_segment.size() : static_cast<std::size_t>(*chosen)); ++i) {
        Reply one = command->run(m_segment.camera(i), rest);
        if (!one.ok) {
            return one;
        }
        for (std::string& text : one.lines) {
            reply.lines.push_back((all ? number(i + 1) + " " : std::string()) + text);
        }
    }
    return reply;
}

Reply Console::help() {
    Reply reply{true, {"list", "quit"}};
    for (const Command& command : commands()) {
        std::string left = "N|all " + std::string(command.name) + " " + std::string(command.arguments);
        left.resize(std::max<std::size_t>(left.size() + 2, 30), ' ');
        reply.lines.push_back(left + std::string(command.help));
    }
    return reply;
}

Reply Console::list() {
    Reply reply;
    for (std::size_t i = 0; i < m_segment.size(); ++i) {
        const Report report = m_segment.camera(i).report();
        reply.lines.push_back(
            number(i + 1) + " " + macText(m_segment.mac(i)) + ", " + addressText(report.ip) + ", " +
            controllerText(report) + (report.silent ? ", silent" : ""));
    }
    const Wire::Counters counted = m_segment.wire().counters();
    const std::string trouble = m_segment.wire().trouble();
    reply.lines.push_back(
        "wire: " + number(counted.received) + " frames in, " + number(counted.sent) + " out, " +
        number(counted.dropped) + " dropped" + (trouble.empty() ? "" : "; " + trouble));
    return reply;
}

Reply Console::fault(Camera& camera, std::string_view rest) {
    if (rest == "clear") {
        camera.faults().clear();
        return done();
    }
    if (rest.empty()) {
        Reply reply;
        for (const Fault& fault : camera.faults().all()) {
            reply.lines.push_back(faultText(fault));
        }
        return reply;
    }
    std::string error;
    const auto fault = parseFault(rest, error);
    if (!fault || !camera.faults().add(*fault)) {
        return failure(fault ? "too many faults: clear them first" : error);
    }
    return done();
}

Reply Console::link(Camera& camera, std::string_view rest) {
    std::string error = "'link' wants faults or 'clear'";
    const auto faults = rest == "clear" ? std::optional(LinkFaults())
                        : rest.empty()  ? std::nullopt
                                        : parseLinkFaults(rest, error);
    if (!faults) {
        return failure(error);
    }
    camera.setLinkFaults(*faults);
    return done();
}

Reply Console::slowWrite(Camera& camera, std::string_view rest) {
    std::string error;
    auto slow = parseSlowWrites(rest == "clear" ? std::string_view() : rest, error);
    if (!slow || rest.empty()) {
        return failure(slow ? "'slow-write' wants times or 'clear'" : error);
    }
    camera.setSlowWrites(std::move(*slow));
    return done();
}

Reply Console::reboot(Camera& camera, std::string_view rest) {
    const auto time = rest.empty() ? std::optional(kDefaultReboot) : parseTime(rest);
    if (!time) {
        return failure("'" + std::string(rest) + "' is not a number of milliseconds up to an hour");
    }
    camera.reboot(*time);
    return done();
}

Reply Console::silent(Camera& camera, std::string_view rest) {
    const auto time = rest.empty()    ? std::optional(kMaxSilence)
                      : rest == "off" ? std::optional(milliseconds(0))
                                      : parseTime(rest);
    if (!time) {
        return failure(
            "'" + std::string(rest) + "' is neither 'off' nor a number of milliseconds up to an hour");
    }
    camera.silence(*time);
    return done();
}

Reply Console::get(Camera& camera, std::string_view rest) {
    const std::string_view name = takeWord(rest);
    const auto count = rest.empty() ? std::optional<std::uint64_t>(1) : parseUnsigned(rest, kMostShown);
    if (!count) {
        return failure("'" + std::string(rest) + "' is not a number up to " + number(kMostShown));
    }
    const auto place = elementOf(camera, name);
    const auto start = place ? std::optional(addressOf(*place)) : parseRegister(name);
    if (!start || (!place && parseElement(name))) {
        return noRegister(name);
    }
    const std::uint32_t size = place ? fact(place->reg).size : 4;
    Reply reply;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const Address address = *start + i * size;
        const auto bytes = camera.peek(address, size);
        if (!bytes) {
            return failure("nothing is at " + hexadecimal(address));
        }
        const auto at = place ? Registers::find(address) : std::nullopt;
        const bool whole = at && at->offset == 0 && fact(at->reg).size == size;
        reply.lines.push_back(whole ? textOf(fact(at->reg), *bytes) : hexadecimal(Reader(*bytes).u32()));
    }
    return reply;
}

Reply Console::set(Camera& camera, std::string_view rest) {
    const std::string_view name = takeWord(rest);
    const auto place = elementOf(camera, name);
    const auto address = place ? std::optional(addressOf(*place)) : parseRegister(name);
    if (!address || (!place && parseElement(name))) {
        return noRegister(name);
    }
    const auto word = parseUnsigned(rest, 0xFFFFFFFF);
    const auto bytes = place  ? bytesOf(fact(place->reg), rest)
                       : word ? std::optional(Writer().u32(static_cast<std::uint32_t>(*word)).take())
                              : std::nullopt;
    if (!bytes) {
        return failure("'" + std::string(rest.substr(0, 64)) + "' is not a value for " + std::string(name));
    }
    return camera.poke(*address, *bytes) ? done() : failure(std::string(name) + " does not take this value");
}

Reply Console::statistics(Camera& camera, std::string_view) {
    const Report report = camera.report();
    Reply reply;
    reply.lines.push_back(addressText(report.ip) + ", " + controllerText(report));
    for (const CommandName& row : kCommandNames) {
        reply.lines.push_back(std::string(row.name) + " " + number(camera.log().count(row.command)));
    }
    reply.lines.push_back("commands " + number(camera.log().total()));
    reply.lines.push_back("dropped " + number(camera.dropped()));
    reply.lines.push_back("lost-by-link-faults " + number(report.lost));
    reply.lines.push_back("acquiring " + std::string(report.acquiring ? "yes" : "no"));
    reply.lines.push_back("frames " + number(report.frames));
    reply.lines.push_back("frames-skipped " + number(report.skipped));
    reply.lines.push_back("stream-packets " + number(report.packets));
    reply.lines.push_back("stream-bytes " + number(report.bytes));
    reply.lines.push_back("packets-resent " + number(report.resent));
    reply.lines.push_back("resend-refused " + number(report.refused));
    reply.lines.push_back(
        "stream " + (report.destinationPort == 0
                         ? std::string("nowhere")
                         : ipText(report.destinationIp) + ":" + number(report.destinationPort)));
    return reply;
}

} // namespace gbe_simcam
