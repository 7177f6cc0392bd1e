// What the program says about itself, from the table of verbs and the options that they define.
#pragma once

#include "manual/manual.h"

#include <CLI/CLI.hpp>

#include <span>
#include <string>
#include <vector>

namespace gbe {

using HelpRow = manual::Row; // "-q, --values", "NAME...", "GBE_CAMERA", and what that is

// "gbe get [OPTIONS] NAME..."
std::string usageOf(const CLI::App& command);
// What it takes without a name.
std::vector<HelpRow> argumentsOf(const CLI::App& command);
// Its own options; those of a group of that name, where one is given.
std::vector<HelpRow> optionsOf(const CLI::App& command, const std::string& group = "Options");
// The variables of the environment and the files that count.
std::span<const HelpRow> environment();

// For --help: of the program by groups of verbs, of a family, of a verb with its examples.
class HelpFormatter : public CLI::FormatterBase {
public:
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
};

// The manual page of the program (gbe.1), or of a verb (gbe-get.1), for man.
std::string manualPage(const CLI::App& command);
// "gbe.1", "gbe-ip-set.1".
std::string manualFile(const CLI::App& command);

} // namespace gbe
