#include "Selection.h"

#include "Failure.h"

#include "liomol/gige.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <functional>
#include <memory>
#include <stdexcept>

namespace gbe {
namespace {

using net::Ipv4;
using net::Mac;

// These throw std::invalid_argument with what the text is not.

unsigned numberBelow(unsigned limit, const std::string& text) {
    unsigned number = limit;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number >= limit) {
        throw std::invalid_argument("a number from 0 to " + std::to_string(limit - 1));
    }
    return number;
}

template<typename T> T required(const std::optional<T>& value, const char* what) {
    if (!value) {
        throw std::invalid_argument(what);
    }
    return *value;
}

void takeBoard(Selection& selection, const std::string& text) {
    selection.board = static_cast<int>(numberBelow(GBE_BOARDS, text));
    selection.boardGiven = true;
}

void takePort(Selection& selection, const std::string& text) {
    selection.port = numberBelow(GBE_PORTS, text);
}

void takeMac(Selection& selection, const std::string& text) {
    selection.mac = required(Mac::parse(text), "a MAC address");
}

void takeIp(Selection& selection, const std::string& text) {
    selection.ip = required(Ipv4::parse(text), "an IPv4 address");
}

// A script whose variable is empty does not mean the first camera.
void takeName(Selection& selection, const std::string& text) {
    if (text.empty()) {
        throw std::invalid_argument("a name");
    }
    selection.name = text;
}

struct Part {
    const char* option;
    const char* word; // in the environment
    void (*take)(Selection&, const std::string&);
    const char* value;
    const char* text;
};

constexpr Part kParts[] = {
    {"--board", "board:", &takeBoard, "N", "Board, 0 to 7 (default: 0)"},
    {"--port", "port:", &takePort, "N", "Port of the board, 0 to 3 (default: all)"},
    {"--mac", "mac:", &takeMac, "MAC", "Camera with this MAC address"},
    {"--ip", "ip:", &takeIp, "IP", "Camera with this IPv4 address"},
    {"--name", "name:", &takeName, "NAME", "Camera with this user-defined name"},
};

} // namespace

Selection parseSelection(const std::string& text, const std::string& what) {
    Selection selection;
    for (std::size_t at = 0; at < text.size();) {
        const Part* part = nullptr;
        for (const Part& each : kParts) {
            part = text.compare(at, std::char_traits<char>::length(each.word), each.word) == 0 ? &each : part;
        }
        if (part == nullptr) {
            throw Failure(
                what + ": \"" + text.substr(at) +
                    "\" is not board:N, port:N, mac:MAC, ip:IP or name:NAME, with commas between them",
                ExitStatus::Usage);
        }
        at += std::char_traits<char>::length(part->word);
        const std::size_t end = part->take == &takeName ? text.npos : text.find(',', at); // names have commas
        const std::string value = text.substr(at, end - at);
        try {
            part->take(selection, value);
        } catch (const std::invalid_argument& wanted) {
            throw Failure(what + ": \"" + value + "\" is not " + wanted.what(), ExitStatus::Usage);
        }
        at = end == text.npos ? text.size() : end + 1;
    }
    return selection;
}

void addSelection(CLI::App& app, Selection& selection) {
    const auto isFirst = std::make_shared<bool>(true);
    for (const Part& part : kParts) {
        app.add_option_function<std::string>(
               part.option,
               [&part, &selection, isFirst](const std::string& text) {
                   if (std::exchange(*isFirst, false)) {
                       const bool standard = std::exchange(selection, {}).standard;
                       selection.standard = standard;
                   }
                   try {
                       part.take(selection, text);
                   } catch (const std::invalid_argument& what) {
                       throw CLI::ValidationError(part.option, "\"" + text + "\" is not " + what.what());
                   }
               },
               part.text)
            ->type_name(part.value)
            ->group(kSelectionGroup);
    }
    app.add_flag_callback(
           "--own", [&selection] { selection.standard = false; },
           "Reads the description in a way of its own, not as the GenICam standard has it")
        ->group(kSelectionGroup);
    app.add_flag_callback(
           "--standard", [&selection] { selection.standard = true; },
           "Reads it as the GenICam standard has it, which is the default")
        ->group(kSelectionGroup);
}

} // namespace gbe
