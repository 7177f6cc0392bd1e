#include "completion.h"

#include "CommandLine.h"
#include "Failure.h"
#include "FeatureCache.h"
#include "protocol/bootstrap_registers.h"
#include "verbs.h"

#include <algorithm>
#include <utility>

namespace gbe {
namespace {

// The line as far as it is typed.
struct Typed {
    CLI::App* command = nullptr;
    Selection selection;
    std::string before; // the option that the last word belongs to; empty without one
    std::size_t arguments = 0;
    CLI::App* family = nullptr; // that the last argument names
};

const CLI::Option* optionNamed(const CLI::App& command, const std::string& name) {
    for (const CLI::App* each = &command; each != nullptr; each = each->get_parent()) {
        for (const CLI::Option* option : each->get_options()) {
            if (option->nonpositional() && option->check_name(name)) {
                return option;
            }
        }
    }
    return nullptr;
}

void select(Selection& selection, const std::string& option, const std::string& value) {
    try {
        const Selection part = parseSelection(option.substr(2) + ":" + value);
        selection.mac = part.mac ? part.mac : selection.mac;
        selection.ip = part.ip ? part.ip : selection.ip;
        selection.name = part.name.empty() ? selection.name : part.name;
    } catch (const Failure&) { // not one of these options, or not complete
    }
}

Typed readLine(CLI::App& app, const std::vector<std::string>& words, const Selection& usual) {
    Typed typed{&app, {}, "", 0, nullptr};
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        const std::string& word = words[i];
        if (!typed.before.empty()) {
            select(typed.selection, std::exchange(typed.before, ""), word);
            continue;
        }
        const auto commands =
            typed.command->get_subcommands([&](const CLI::App* each) { return each->get_name() == word; });
        const CLI::Option* option = word.starts_with('-') ? optionNamed(*typed.command, word) : nullptr;
        if (option != nullptr && option->get_items_expected_max() > 0) {
            typed.before = word;
        } else if (!commands.empty()) {
            typed.command = commands.front();
        } else if (!word.starts_with('-')) {
            ++typed.arguments;
            const auto named =
                app.get_subcommands([&](const CLI::App* each) { return each->get_name() == word; });
            typed.family = named.empty() ? nullptr : named.front();
        }
    }
    if (typed.selection == Selection()) {
        typed.selection = usual;
    }
    return typed;
}

std::vector<HelpRow> commands(const CLI::App& app) {
    std::vector<HelpRow> rows;
    for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!each->get_group().empty()) {
            rows.push_back({each->get_name(), each->get_description()});
        }
    }
    return rows;
}

std::vector<HelpRow> options(const CLI::App& command) {
    std::vector<HelpRow> rows;
    for (const CLI::App* each = &command; each != nullptr; each = each->get_parent()) {
        for (const CLI::Option* option : each->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                rows.push_back({"--" + name, option->get_description()});
            }
        }
    }
    return rows;
}

const KnownCamera* meant(const std::vector<KnownCamera>& cameras, const Selection& selection) {
    const auto found = std::find_if(
        cameras.begin(), cameras.end(), [&](const KnownCamera& each) { return isMeant(each, selection); });
    return found != cameras.end() ? &*found : nullptr;
}

// Values of the options that say which camera.
std::vector<HelpRow> selectionValues(const std::string& option) {
    std::vector<HelpRow> rows;
    for (const KnownCamera& camera : knownCameras()) {
        const std::string value = option == "--mac"    ? camera.mac
                                  : option == "--ip"   ? camera.ip
                                  : option == "--name" ? camera.name
                                                       : "";
        if (!value.empty()) {
            rows.push_back({value, camera.model});
        }
    }
    return rows;
}

std::vector<HelpRow> entries(const KnownCamera& camera, const std::string& name, const std::string& head) {
    std::vector<HelpRow> rows;
    for (const KnownFeature& feature : camera.features) {
        if (feature.name == name) {
            for (const std::string& entry : feature.entries) {
                rows.push_back({head + entry, ""});
            }
            if (feature.kind == "boolean") {
                rows.insert(rows.end(), {{head + "true", ""}, {head + "false", ""}});
            }
        }
    }
    return rows;
}

std::vector<HelpRow> features(const Selection& selection, const std::string& kind, const std::string& last) {
    if (kind != "NAME" && kind != "NAME=VALUE" && kind != "COMMAND") {
        return {};
    }
    const std::vector<KnownCamera> cameras = knownCameras();
    const KnownCamera* camera = meant(cameras, selection);
    if (camera == nullptr) {
        return {};
    }
    const bool isSetting = kind == "NAME=VALUE";
    const std::size_t equals = last.find('=');
    if (isSetting && equals != last.npos) {
        return entries(*camera, last.substr(0, equals), last.substr(0, equals + 1));
    }
    std::vector<HelpRow> rows;
    for (const KnownFeature& feature : camera->features) {
        const bool isCommand = feature.kind == "command";
        if (feature.kind != "category" && (kind == "NAME" || isCommand == (kind == "COMMAND"))) {
            rows.push_back({feature.name + (isSetting ? "=" : ""), feature.kind});
        }
    }
    return rows;
}

std::vector<HelpRow> bootstrapRegisters() {
    std::vector<HelpRow> rows;
    for (const bootstrap::Register& each : bootstrap::kRegisters) {
        rows.push_back({std::string(each.name), std::to_string(each.length) + " bytes"});
    }
    return rows;
}

// Of options whose value is one of few words, by what help calls that value.
constexpr std::pair<const char*, const char*> kWords[] = {
    {"LEVEL", "beginner"}, {"LEVEL", "expert"}, {"LEVEL", "guru"}, {"LEVEL", "invisible"}, {"FORMAT", "png"},
    {"FORMAT", "tiff"},    {"FORMAT", "pnm"},   {"FORMAT", "raw"}, {"SIZE", "auto"},       {"SIZE", "keep"},
};

std::vector<HelpRow> wordsFor(const std::string& value) {
    std::vector<HelpRow> rows;
    for (const auto& [of, word] : kWords) {
        if (value == of) {
            rows.push_back({word, ""});
        }
    }
    return rows;
}

// What the argument is that comes next; the last one may be repeated.
std::string nextArgument(const Typed& typed) {
    std::string name;
    std::size_t at = 0;
    for (const CLI::Option* option : typed.command->get_options()) {
        if (!option->get_positional()) {
            continue;
        }
        if (at == typed.arguments || (at < typed.arguments && option->get_expected_max() > 1)) {
            name = option->get_name(true);
        }
        ++at;
    }
    return name;
}

std::vector<HelpRow> possible(CLI::App& app, const Typed& typed, const std::string& last) {
    if (!typed.before.empty()) {
        const CLI::Option* option = optionNamed(*typed.command, typed.before);
        const std::string value = option != nullptr ? option->get_type_name() : "";
        const std::vector<HelpRow> words = wordsFor(value);
        return !words.empty()          ? words
               : value == "NAME=VALUE" ? features(typed.selection, value, last)
                                       : selectionValues(typed.before);
    }
    if (last.starts_with('-')) {
        return options(*typed.command);
    }
    if (typed.command->get_require_subcommand_min() > 0) {
        return commands(*typed.command);
    }
    const std::string argument = nextArgument(typed);
    return argument == "VERB"      ? commands(typed.family != nullptr ? *typed.family : app)
           : argument == "ADDRESS" ? bootstrapRegisters()
                                   : features(typed.selection, argument, last);
}

} // namespace

std::vector<HelpRow> completions(CLI::App& app, Context& context, const std::vector<std::string>& words) {
    const std::string last = words.empty() ? "" : words.back();
    std::vector<HelpRow> rows = possible(app, readLine(app, words, context.selection), last);
    std::erase_if(rows, [&](const HelpRow& row) { return !row.name.starts_with(last); });
    return rows;
}

} // namespace gbe
